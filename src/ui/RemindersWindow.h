// The reminders on the desktop: the window that adds, edits and deletes the
// events of reminders.ics, frmEventReminder with today's events, and the
// scanner's side of frmMain's ReminderView.
#pragma once

#include "cycle/frmMainReminders.h"
#include "reminders/clsReminders.h"

#include <QDialog>
#include <QPointer>
#include <memory>
#include <string>

class QCheckBox;
class QComboBox;
class QDateTimeEdit;
class QLineEdit;
class QPlainTextEdit;
class QSpinBox;
class QTreeWidget;

namespace corva {
class frmMain;
}

namespace corva::ui {

class RemindersWindow : public QDialog {
    Q_OBJECT
public:
    // reminders is the program's object: saving rescans through it.
    explicit RemindersWindow(clsReminders& reminders, QWidget* parent = nullptr);
    void reload();
    // The form's fields into a new event, or into the selected one.
    bool cmdSave_Click();
    void cmdNew_Click();
    bool cmdDelete_Click();
    QTreeWidget* list() const { return lstEvents_; }
    void fill(const std::string& title, const QDateTime& when, bool allDay, int repeatIndex,
              int alarmMinutes);

private:
    void showEventRow(int row);
    void complain(const std::string& text);

    clsReminders& reminders_;
    Calendar calendar_;
    std::string selectedUid_;
    QTreeWidget* lstEvents_;
    QLineEdit* txtTitle_;
    QDateTimeEdit* dtpWhen_;
    QCheckBox* chkAllDay_;
    QComboBox* cboRepeat_;
    QCheckBox* chkAlarm_;
    QSpinBox* spnAlarm_;
};

class EventReminderWindow : public QDialog, private EventReminderView {
    Q_OBJECT
public:
    explicit EventReminderWindow(const std::string& text, QWidget* parent = nullptr);
    frmEventReminder& logic() { return logic_; }

private:
    void HideReminder() override;
    void ShowReminderInFront() override;
    void UnloadReminder() override;

    frmEventReminder logic_;
    QLineEdit* txtSleep_;
};

// frmMain's reminder view on the scanner: its header pane, and the two windows.
class ScannerReminders : public ReminderView {
public:
    ScannerReminders(QWidget& scanner, frmMain& main) : scanner_(scanner), main_(main) {}
    void ClearHeaderPane() override;
    void SetHeaderLabel(const std::string& text) override;
    void AddHeaderText(const std::string& text) override;
    void ShowEventReminder(const std::string& text) override;
    void ShowRemindersEditor() override;
    EventReminderWindow* reminder() const { return reminder_; }
    RemindersWindow* editor() const { return editor_; }

private:
    QWidget& scanner_;
    frmMain& main_;
    QPointer<EventReminderWindow> reminder_;
    QPointer<RemindersWindow> editor_;
};

} // namespace corva::ui
