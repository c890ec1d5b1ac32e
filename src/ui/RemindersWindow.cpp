#include "ui/RemindersWindow.h"

#include "cycle/frmMain.h"
#include "localise/modLanguages.h"
#include "ui/DisplayText.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDateTimeEdit>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMessageBox>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QSpinBox>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace corva::ui {

namespace {
constexpr Repeat Repeats[] = {Repeat::None, Repeat::Daily, Repeat::Weekly, Repeat::Monthly,
                              Repeat::Yearly};

WallMinutes toWall(const QDateTime& t) {
    const QDate d = t.date();
    return WallFromParts(d.year(), d.month(), d.day(), t.time().hour(), t.time().minute());
}

QDateTime fromWall(WallMinutes m) {
    const long long days = m / 1440 - (m % 1440 < 0 ? 1 : 0);
    int y, mo, d;
    CivilFromDays(days, y, mo, d);
    const int t = static_cast<int>(m - days * 1440);
    return QDateTime(QDate(y, mo, d), QTime(t / 60, t % 60));
}

QPushButton* button(const QString& name, const QString& text) {
    auto* b = new QPushButton(text);
    b->setObjectName(name);
    return b;
}
} // namespace

RemindersWindow::RemindersWindow(clsReminders& reminders, QWidget* parent)
    : QDialog(parent), reminders_(reminders) {
    setObjectName(QStringLiteral("frmReminders"));
    setWindowTitle(QStringLiteral("Reminders"));
    auto* layout = new QVBoxLayout(this);

    lstEvents_ = new QTreeWidget;
    lstEvents_->setObjectName(QStringLiteral("lstEvents"));
    lstEvents_->setHeaderLabels({QStringLiteral("When"), QStringLiteral("Repeat"),
                                 QStringLiteral("Alarm"), QStringLiteral("Title")});
    lstEvents_->setRootIsDecorated(false);
    lstEvents_->header()->setStretchLastSection(true);
    connect(lstEvents_, &QTreeWidget::currentItemChanged, this,
            [this] { showEventRow(lstEvents_->indexOfTopLevelItem(lstEvents_->currentItem())); });
    layout->addWidget(lstEvents_, 1);

    auto* form = new QFormLayout;
    txtTitle_ = new QLineEdit;
    txtTitle_->setObjectName(QStringLiteral("txtTitle"));
    form->addRow(QStringLiteral("Title"), txtTitle_);
    auto* whenRow = new QHBoxLayout;
    dtpWhen_ = new QDateTimeEdit(QDateTime::currentDateTime());
    dtpWhen_->setObjectName(QStringLiteral("dtpWhen"));
    dtpWhen_->setCalendarPopup(true);
    dtpWhen_->setDisplayFormat(QStringLiteral("yyyy-MM-dd HH:mm"));
    chkAllDay_ = new QCheckBox(QStringLiteral("All day"));
    chkAllDay_->setObjectName(QStringLiteral("chkAllDay"));
    connect(chkAllDay_, &QCheckBox::toggled, this, [this](bool on) {
        dtpWhen_->setDisplayFormat(on ? QStringLiteral("yyyy-MM-dd")
                                      : QStringLiteral("yyyy-MM-dd HH:mm"));
    });
    whenRow->addWidget(dtpWhen_, 1);
    whenRow->addWidget(chkAllDay_);
    form->addRow(QStringLiteral("Date and time"), whenRow);
    cboRepeat_ = new QComboBox;
    cboRepeat_->setObjectName(QStringLiteral("cboRepeat"));
    cboRepeat_->addItems({QStringLiteral("Never"), QStringLiteral("Every day"),
                          QStringLiteral("Every week"), QStringLiteral("Every month"),
                          QStringLiteral("Every year")});
    form->addRow(QStringLiteral("Repeat"), cboRepeat_);
    auto* alarmRow = new QHBoxLayout;
    chkAlarm_ = new QCheckBox(QStringLiteral("Mail a reminder"));
    chkAlarm_->setObjectName(QStringLiteral("chkAlarm"));
    spnAlarm_ = new QSpinBox;
    spnAlarm_->setObjectName(QStringLiteral("spnAlarm"));
    spnAlarm_->setRange(0, 7 * 1440);
    spnAlarm_->setSuffix(QStringLiteral(" minutes before"));
    spnAlarm_->setValue(15);
    alarmRow->addWidget(chkAlarm_);
    alarmRow->addWidget(spnAlarm_, 1);
    form->addRow(QStringLiteral("Alarm"), alarmRow);
    layout->addLayout(form);

    auto* buttons = new QHBoxLayout;
    auto* cmdNew = button(QStringLiteral("cmdNew"), QStringLiteral("&New"));
    auto* cmdSave = button(QStringLiteral("cmdSave"), QStringLiteral("&Save"));
    auto* cmdDelete = button(QStringLiteral("cmdDelete"), QStringLiteral("&Delete"));
    auto* cmdClose = button(QStringLiteral("cmdClose"), QStringLiteral("Close"));
    connect(cmdNew, &QPushButton::clicked, this, [this] { cmdNew_Click(); });
    connect(cmdSave, &QPushButton::clicked, this, [this] { cmdSave_Click(); });
    connect(cmdDelete, &QPushButton::clicked, this, [this] { cmdDelete_Click(); });
    connect(cmdClose, &QPushButton::clicked, this, &QDialog::close);
    for (auto* b : {cmdNew, cmdSave, cmdDelete}) buttons->addWidget(b);
    buttons->addStretch();
    buttons->addWidget(cmdClose);
    layout->addLayout(buttons);
    resize(560, 420);
    reload();
}

void RemindersWindow::reload() {
    calendar_ = reminders_.Load();
    lstEvents_->clear();
    for (const CalendarEvent& e : calendar_.events) {
        std::string alarms;
        for (int m : e.alarmMinutes) alarms += (alarms.empty() ? "" : ", ") + std::to_string(m);
        auto* item = new QTreeWidgetItem(
            {QString::fromStdString(clsReminders::FormatWhen(e.start, e.allDay)),
             QString::fromStdString(clsReminders::RepeatName(e.rule.freq)),
             QString::fromStdString(alarms), toDisplay(e.summary)});
        lstEvents_->addTopLevelItem(item);
    }
    for (int c = 0; c < 3; ++c) lstEvents_->resizeColumnToContents(c);
    cmdNew_Click();
}

void RemindersWindow::fill(const std::string& title, const QDateTime& when, bool allDay,
                           int repeatIndex, int alarmMinutes) {
    txtTitle_->setText(QString::fromStdString(title));
    dtpWhen_->setDateTime(when);
    chkAllDay_->setChecked(allDay);
    cboRepeat_->setCurrentIndex(repeatIndex);
    chkAlarm_->setChecked(alarmMinutes >= 0);
    if (alarmMinutes >= 0) spnAlarm_->setValue(alarmMinutes);
}

void RemindersWindow::showEventRow(int row) {
    if (row < 0 || row >= static_cast<int>(calendar_.events.size())) return;
    const CalendarEvent& e = calendar_.events[static_cast<size_t>(row)];
    selectedUid_ = e.uid;
    int repeat = 0;
    for (int i = 0; i < 5; ++i)
        if (Repeats[i] == e.rule.freq) repeat = i;
    fill(e.summary, fromWall(e.start), e.allDay, repeat,
         e.alarmMinutes.empty() ? -1 : e.alarmMinutes.front());
}

void RemindersWindow::cmdNew_Click() {
    selectedUid_.clear();
    lstEvents_->setCurrentItem(nullptr);
    QDateTime next = QDateTime::currentDateTime().addSecs(3600);
    next.setTime(QTime(next.time().hour(), 0));
    fill("", next, false, 0, -1);
}

void RemindersWindow::complain(const std::string& text) {
    QMessageBox::warning(this, windowTitle(), QString::fromStdString(text));
}

bool RemindersWindow::cmdSave_Click() {
    const std::string title = txtTitle_->text().trimmed().toStdString();
    if (title.empty()) {
        complain(gettranslation("Give the event a title."));
        return false;
    }
    CalendarEvent e;
    for (const CalendarEvent& old : calendar_.events)
        if (!selectedUid_.empty() && old.uid == selectedUid_) e = old;
    e.summary = title;
    // An edited event keeps its length where the kind of day allows it.
    const bool wasAllDay = e.allDay;
    const WallMinutes length = e.end - e.start;
    e.allDay = chkAllDay_->isChecked();
    QDateTime when = dtpWhen_->dateTime();
    if (e.allDay) when.setTime(QTime(0, 0));
    e.start = toWall(when);
    if (e.allDay)
        e.end = e.start + (wasAllDay && length >= 1440 ? length : 1440);
    else
        e.end = e.start + (!wasAllDay && length > 0 ? length : 0);
    clsReminders::SetRepeat(e, Repeats[std::clamp(cboRepeat_->currentIndex(), 0, 4)]);
    // The first alarm is the one the form shows; others stay as they are.
    if (chkAlarm_->isChecked()) {
        if (e.alarmMinutes.empty())
            e.alarmMinutes.push_back(spnAlarm_->value());
        else
            e.alarmMinutes.front() = spnAlarm_->value();
    } else if (!e.alarmMinutes.empty()) {
        e.alarmMinutes.erase(e.alarmMinutes.begin());
    }
    std::string why;
    const bool saved = selectedUid_.empty() ? !reminders_.AddEvent(e, why).empty()
                                            : reminders_.UpdateEvent(e, why);
    if (!saved) {
        complain(why);
        return false;
    }
    reload();
    reminders_.Scan();
    return true;
}

bool RemindersWindow::cmdDelete_Click() {
    if (selectedUid_.empty()) return false;
    std::string why;
    if (!reminders_.RemoveEvent(selectedUid_, why)) {
        complain(why);
        return false;
    }
    reload();
    reminders_.Scan();
    return true;
}

// ---------------------------------------------------------------------------

EventReminderWindow::EventReminderWindow(const std::string& text, QWidget* parent)
    : QDialog(parent), logic_(*this) {
    setObjectName(QStringLiteral("frmEventReminder"));
    setWindowTitle(QStringLiteral("Reminders"));
    logic_.txtReminders = text;
    auto* layout = new QVBoxLayout(this);
    auto* txtReminders = new QPlainTextEdit(toDisplay(text));
    txtReminders->setObjectName(QStringLiteral("txtReminders"));
    txtReminders->setReadOnly(true);
    layout->addWidget(txtReminders, 1);
    auto* row = new QHBoxLayout;
    auto* cmdSleep = button(QStringLiteral("cmdSleep"), QStringLiteral("&Sleep"));
    txtSleep_ = new QLineEdit(QString::fromStdString(logic_.txtSleep));
    txtSleep_->setObjectName(QStringLiteral("txtSleep"));
    txtSleep_->setMaximumWidth(60);
    auto* lblMinutes = new QLabel(QStringLiteral("minutes"));
    lblMinutes->setObjectName(QStringLiteral("lblMinutes"));
    auto* cmdClose = button(QStringLiteral("cmdClose"), QStringLiteral("Close"));
    connect(cmdSleep, &QPushButton::clicked, this, [this] {
        logic_.txtSleep = txtSleep_->text().toStdString();
        logic_.cmdSleep_Click();
    });
    connect(cmdClose, &QPushButton::clicked, this, [this] { logic_.cmdClose_Click(); });
    row->addWidget(cmdSleep);
    row->addWidget(txtSleep_);
    row->addWidget(lblMinutes);
    row->addStretch();
    row->addWidget(cmdClose);
    layout->addLayout(row);
    resize(420, 220);
}

void EventReminderWindow::HideReminder() {
    hide();
}

void EventReminderWindow::ShowReminderInFront() {
    show();
    raise();
    activateWindow();
}

void EventReminderWindow::UnloadReminder() {
    close();
}

// ---------------------------------------------------------------------------

void ScannerReminders::ClearHeaderPane() {
    if (auto* pane = scanner_.findChild<QPlainTextEdit*>(QStringLiteral("txtHeaders")))
        pane->clear();
}

void ScannerReminders::SetHeaderLabel(const std::string& text) {
    if (auto* label = scanner_.findChild<QLabel*>(QStringLiteral("lblHeaders")))
        label->setText(QString::fromStdString(text));
}

void ScannerReminders::AddHeaderText(const std::string& text) {
    auto* pane = scanner_.findChild<QPlainTextEdit*>(QStringLiteral("txtHeaders"));
    if (!pane) return;
    QString lines = toDisplay(text);
    lines.remove(QLatin1Char('\r'));
    pane->moveCursor(QTextCursor::End);
    pane->insertPlainText(lines);
}

void ScannerReminders::ShowEventReminder(const std::string& text) {
    reminder_ = new EventReminderWindow(text, &scanner_);
    reminder_->setAttribute(Qt::WA_DeleteOnClose);
    reminder_->show();
}

void ScannerReminders::ShowRemindersEditor() {
    clsReminders* reminders = main_.Reminders();
    if (!reminders) return;
    if (!editor_) {
        editor_ = new RemindersWindow(*reminders, &scanner_);
        editor_->setAttribute(Qt::WA_DeleteOnClose);
    } else {
        editor_->reload();
    }
    editor_->show();
    editor_->raise();
    editor_->activateWindow();
}

} // namespace corva::ui
