// The ticket windows: the ticket ("Customer Management System"), the list
// ("Ticket List") and the settings ("CMS Settings"). Each shows the fields
// its logic object gives and forwards the operator's commands.
#pragma once

#include "tickets/frmCMSSettings.h"
#include "tickets/frmCMSTicket.h"
#include "tickets/frmCMSTicketList.h"

#include <QDialog>

#include <string>

class QCheckBox;
class QComboBox;
class QLineEdit;
class QListWidget;
class QPlainTextEdit;
class QTreeWidget;

namespace corva {
class clsMessage;
class frmSendMailWrapper;
} // namespace corva

namespace corva::ui {

class CMSTicketDialog : public QDialog, public frmCMSTicketView {
    Q_OBJECT
public:
    explicit CMSTicketDialog(QWidget* parent = nullptr);
    // Fills the fields without running the dialog (ShowModal does both).
    void setFields(const CMSTicketFields& fields);
    CMSTicketFields fields() const;
    bool ShowModal(CMSTicketFields& fields) override;

    // TB1's right-click entries: its selection into the subject or the version.
    void mnuInsertIntoDesc();
    void mnuInsertIntoVer();

    QComboBox *cmbPriority, *cmbType, *cmbCategory;
    QLineEdit *txtEmail, *txtVersion, *txtDate, *txtSubject, *txtFrom;
    QPlainTextEdit *txtComment, *TB1;
    QListWidget* lstUsers;
    QCheckBox *chkNotify, *chkClosed;

private:
    long ticketnum_ = 0;
};

class CMSSettingsDialog : public QDialog {
    Q_OBJECT
public:
    explicit CMSSettingsDialog(QWidget* parent = nullptr);
    // "OK": the fields to the logic, which keeps them.
    void accept() override;
    static void open(QWidget* parent);

    QLineEdit *txtReturnEmail, *txtSenderName, *txtWebpath;
    QPlainTextEdit *txtInitial, *txtProgress, *txtClosed;
};

class CMSTicketListWindow : public QDialog, public frmCMSTicketListView {
    Q_OBJECT
public:
    CMSTicketListWindow(frmSendMailWrapper& wrapper, QWidget* parent = nullptr);
    frmCMSTicketList& list() { return list_; }
    void ShowRows() override;
    void RowChanged(int row) override;
    void SetSortIndicator(int column, bool ascending) override;
    void exportSelected();
    // Shows the list of every ticket, not modally.
    static void open(frmSendMailWrapper& wrapper, QWidget* parent);

    QTreeWidget* lvTickets;
    QLineEdit* txtFind;

private:
    void fillRow(int row);
    frmCMSTicketList list_;
    frmSendMailWrapper& wrapper_;
};

// "Open in CMS" and the composer's "cms": a new ticket from the message,
// text (a selection) standing for its body when given, edited at once.
void OpenTicketForMessage(const clsMessage& message, const std::string& text,
                          frmSendMailWrapper& wrapper, QWidget* parent);

} // namespace corva::ui
