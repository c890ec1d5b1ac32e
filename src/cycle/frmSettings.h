// The settings dialog as a logic object: the global keys and the 20 accounts
// as the dialog's fields, the account switch, and OK's tests in their order.
// The Qt dialog shows these fields and forwards the user's commands.
#pragma once

#include "core/Account.h"

#include <array>
#include <string>
#include <vector>

namespace corva {

// One account as the dialog shows it. Check boxes are booleans; numbers stay
// the text the user typed until OK reads them.
struct AccountFields {
    std::string Title;
    std::string Server;
    std::string UName;
    std::string Pwd;
    bool Check = false;
    bool StopAtLast = false;
    std::string Smtp;
    bool SmtpAuth = false;
    std::string SmtpUName;
    std::string SmtpPwd;
    std::string ReplyAddress;
    std::string DisplayName;
    std::string Exclusive0;
    std::string Exclusive1;
    // Shown and kept while the dialog is open; OK does not store it.
    std::string SmtpPort = "25";
    // Connection security of each server (POPSECURITY, SMTPSECURITY): 0 none,
    // 1 SSL/TLS, 2 STARTTLS.
    int PopSecurity = 0;
    int SmtpSecurity = 0;
    // Both passwords in the desktop keyring (KEYRING) instead of Corva.ini.
    bool Keyring = false;
};

struct GlobalFields {
    std::string LangID = "English";
    std::string Delay = "0";
    bool AutoDelete = false;
    bool Audio = false;
    bool StartMin = false;
    bool DeleteOnRetrieve = false;
    std::string BounceSubject = "Failure Notice";
    std::string BouncePrefix = "MAILER-DAEMON@";
    bool ScanOnStart = false;
    bool RetrieveOnStart = false;
    bool DisableReadOnServer = false;
    bool AutoUpdateCheck = true; // the opposite of DisableAutoUpdateCheck
    bool ShowScannerFirst = true;
    // A desktop notification when new mail arrives (key NotifyNewMail).
    bool NotifyNewMail = true;
    std::string MaxMailSize = "0";
    std::string MailTimeout = "30";
    std::string Age0 = "30";
    std::string Age1 = "14";
    std::string Age2 = "1";
    std::string FontSize = "8";
    std::string MsgFontSize;
    std::string MessageFolder;
    std::string SpamFolder;
    std::string FilterFolder;
    std::string DataFolder;
};

class frmSettings {
public:
    static constexpr int AccountCount = corva::Account::Count;

    // Opening the dialog: every global key and all 20 accounts into the fields.
    void Load();
    // The account list's entries: "1 - Title" ... "20 - Title".
    std::vector<std::string> AccountListEntries() const;
    // Switching accounts: the shown fields are kept at the old index and the
    // new index's fields come back. An empty port shows "25".
    AccountFields SelectAccount(int newIndex, const AccountFields& shown);
    int SelectedAccount() const { return selected_; }
    const AccountFields& Account(int index) const {
        return accounts_.at(static_cast<size_t>(index));
    }

    // OK. Fields may be corrected in place (reset folders, a negative size).
    // False with the message shown and nothing stored when a test fails.
    bool cmdOK(GlobalFields& globals, const AccountFields& shown);

    GlobalFields Globals() const { return globals_; }

    // The port fields follow a change of security while they hold a usual
    // port (or none); a port the user chose stays.
    static std::string ProposedSmtpPort(const std::string& port, int security);
    static std::string ProposedPopServer(const std::string& server, int security);
    // The languages the dialog offers.
    std::vector<std::string> Languages() const;

private:
    GlobalFields globals_;
    std::array<AccountFields, 21> accounts_{};
    int selected_ = 0;
};

// The first-run wizard: its pages' tests and the account 0 it writes.
struct WizardFields {
    std::string UserName;     // the name others see
    std::string EmailAddress; // the reply address
    std::string InboundServer;
    std::string OutboundServer;
    std::string LoginName;
    std::string Title;
    int PopSecurity = 0; // as AccountFields
    int SmtpSecurity = 0;
};

// What the wizard found the servers to support, most secure first.
struct SecurityProposal {
    int PopSecurity = 0;
    std::string InboundServer; // with the port the choice needs
    int SmtpSecurity = 0;
    std::string OutboundServer;
};

class frmAccountWizard {
public:
    static constexpr int PageCount = 4;
    // The message that keeps a page from moving on, or "" when it may.
    static std::string PageProblem(int page, const WizardFields& fields);
    // Finish: an empty store with account 0 set, saved as Corva.ini.
    static void Finish(const WizardFields& fields);
    // Tries TLS from the first byte and STLS/STARTTLS on the usual ports of
    // the servers typed, and proposes the first that works; 0 where none does.
    static SecurityProposal ProposeSecurity(const WizardFields& fields, int timeoutMs);
    // Cancel: asks first; true when the wizard ends without settings.
    static bool ConfirmCancel();
    // The title the last page offers: the incoming server's name, without a port.
    static std::string ProposedTitle(const WizardFields& fields);
};

} // namespace corva
