#include "cycle/frmSettings.h"

#include "cycle/ServerProbe.h"

#include "core/AccountRules.h"
#include "core/AppInfo.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/KeyringPasswords.h"
#include "core/Strings.h"
#include "core/mSHAREDSettings.h"
#include "localise/modLanguages.h"
#include "platform/Platform.h"
#include "store/modFolders.h"

namespace corva {

namespace {

std::string num(int i) {
    return std::to_string(i);
}

std::string text(const std::string& key, const std::string& def) {
    return sget(key, def).toText();
}

// Numbers read from the file keep their print-form blanks; the fields show them bare.
std::string numberField(const std::string& key, const std::string& def) {
    return Trim(sget(key, def).toText());
}

bool tell(const std::string& message) {
    platform::current().prompts().messageBox(
        message, platform::Buttons::Ok, platform::Icon::Exclamation, gettranslation("Settings"));
    return false;
}

std::string cutTrailingSlash(std::string path) {
    while (path.size() > 1 && (path.back() == '\\' || path.back() == '/')) path.pop_back();
    return path;
}

std::string withoutSlash(const std::string& folder) {
    return cutTrailingSlash(folder);
}

} // namespace

void frmSettings::Load() {
    GlobalFields& g = globals_;
    g.LangID = text("langID", "English");
    g.Delay = numberField("DELAY", "0");
    g.AutoDelete = sget("AUTODELETE", 0).toBool();
    g.Audio = sget("AUDIO", 0).toBool();
    g.StartMin = sget("STARTMIN", 0).toBool();
    g.DeleteOnRetrieve = sget("DELETEONRETRIEVE", 0).toBool();
    g.BounceSubject = text("BOUNCESUBJECT", "Failure Notice");
    g.BouncePrefix = text("BOUNCEPREFIX", "MAILER-DAEMON@");
    g.ScanOnStart = sget("ScanOnStart", false).toBool();
    g.RetrieveOnStart = sget("RetrieveOnStart", false).toBool();
    g.DisableReadOnServer = sget("DisableReadOnServer", false).toBool();
    g.AutoUpdateCheck = !sget("DisableAutoUpdateCheck", false).toBool();
    g.ShowScannerFirst = sget("ShowScannerFirst", true).toBool();
    g.NotifyNewMail = sget("NotifyNewMail", true).toBool();
    g.MaxMailSize = numberField("MaxMailSize", "0");
    g.MailTimeout = numberField("MailTimeout", "30");
    g.Age0 = numberField("Age0", "30");
    g.Age1 = numberField("Age1", "14");
    g.Age2 = numberField("Age2", "1");
    g.FontSize = numberField("FontSize", "8");
    g.MsgFontSize = numberField("MsgFontSize", "");
    g.MessageFolder = withoutSlash(MessageFolder);
    g.SpamFolder = withoutSlash(
        PathsStore().RetrieveSetting("SpamFolder", MessageFolder + "SpamBayes").toText());
    g.FilterFolder = withoutSlash(FilterFolder);
    g.DataFolder = withoutSlash(DataFolder);

    for (int i = 0; i < AccountCount; ++i) {
        AccountFields& a = accounts_[static_cast<size_t>(i)];
        const corva::Account account(i);
        a.Title = account.title();
        // The field shows the server as it was typed.
        a.Server = text(account.key("SERVER"), "");
        a.UName = account.userName();
        a.Pwd = account.password();
        a.Keyring = PasswordsInKeyring(account);
        a.Check = account.checked(false);
        a.StopAtLast = account.stopAtLast(false);
        a.Smtp = account.smtpServer();
        a.SmtpAuth = account.smtpAuth();
        a.SmtpUName = account.smtpUserName();
        a.SmtpPwd = account.smtpPassword();
        a.ReplyAddress = account.replyAddress();
        a.DisplayName = account.displayName();
        a.Exclusive0 = account.exclusive(0);
        a.Exclusive1 = account.exclusive(1);
        a.SmtpPort = numberField(account.key("SMTPPort"), "25");
        a.PopSecurity = account.popSecurity();
        a.SmtpSecurity = account.smtpSecurity();
    }
    selected_ = 0;
}

std::vector<std::string> frmSettings::AccountListEntries() const {
    std::vector<std::string> entries;
    for (int i = 0; i < AccountCount; ++i)
        entries.push_back(num(i + 1) + " - " + accounts_[static_cast<size_t>(i)].Title);
    return entries;
}

AccountFields frmSettings::SelectAccount(int newIndex, const AccountFields& shown) {
    if (newIndex < 0 || newIndex >= AccountCount) return shown;
    accounts_[static_cast<size_t>(selected_)] = shown;
    selected_ = newIndex;
    AccountFields next = accounts_[static_cast<size_t>(newIndex)];
    if (Trim(next.SmtpPort).empty()) next.SmtpPort = "25";
    return next;
}

bool frmSettings::cmdOK(GlobalFields& g, const AccountFields& shown) {
    if (!shown.ReplyAddress.empty() && shown.ReplyAddress.find('@') == std::string::npos)
        return tell(gettranslation("Please enter a valid email for the reply address"));
    double age0 = Val(g.Age0), age1 = Val(g.Age1), age2 = Val(g.Age2);
    if (age0 <= 0 || age1 <= 0 || age2 <= 0)
        return tell(gettranslation("Message ages cannot be zero or less"));
    if (!(age0 > age1)) return tell(gettranslation("Age 1 is less than Age 2"));
    if (!(age1 > age2)) return tell(gettranslation("Age 2 is less than Age 3"));
    double timeout = Val(g.MailTimeout);
    if (timeout < 0 || timeout > 999)
        return tell(gettranslation("Timeout must be 0 to 999 seconds"));
    if (Val(g.MaxMailSize) < 0) g.MaxMailSize = "0";
    accounts_[static_cast<size_t>(selected_)] = shown;
    for (const AccountFields& a : accounts_) {
        const std::string port = Trim(a.SmtpPort);
        if (!port.empty() && !IsServer("host:" + port))
            return tell(gettranslation("The SMTP port must be a number from 1 to 65535"));
    }
    if (Trim(g.MessageFolder).empty())
        return tell(gettranslation("Please specify a message store location."));
    g.MessageFolder = cutTrailingSlash(g.MessageFolder);
    if (!FolderExists(g.MessageFolder))
        return tell(gettranslation("Please specify a valid path to your message store folder"));

    // From here on a problem is corrected with a message and OK goes on.
    if (!FolderExists(g.SpamFolder)) {
        std::string reset = addslash(ToSlashes(g.MessageFolder)) + "SpamBayes/";
        tell(gettranslation("Invalid spam archive path. Resetting to ") + reset);
        g.SpamFolder = addslash(ToSlashes(g.MessageFolder)) + "SpamBayes";
    }
    if (!FolderExists(g.FilterFolder)) {
        tell(gettranslation("Invalid filters path. Resetting to ") + FilterFolder);
        g.FilterFolder = FilterFolder;
    }
    if (!FolderExists(g.DataFolder)) {
        tell(gettranslation("Invalid data path. Resetting to ") + DataFolder);
        g.DataFolder = DataFolder;
    }
    g.DataFolder = cutTrailingSlash(g.DataFolder);
    g.FilterFolder = cutTrailingSlash(g.FilterFolder);

    setmessagefolder(g.MessageFolder);
    setfilterfolder(g.FilterFolder);
    setdatafolder(g.DataFolder);
    PathsStore().StoreSetting("SpamFolder", g.SpamFolder);

    accounts_[static_cast<size_t>(selected_)] = shown;
    for (int i = 0; i < AccountCount; ++i) {
        const AccountFields& a = accounts_[static_cast<size_t>(i)];
        const corva::Account account(i);
        sset(account.key("TITLE"), a.Title);
        sset(account.key("SERVER"), a.Server);
        sset(account.key("UNAME"), a.UName);
        // Out of the keyring first when unticked, so the passwords land in the file.
        std::string keyring = a.Keyring ? "" : KeepPasswordsInKeyring(account, false);
        WritePassword(account, "PWD", a.Pwd);
        sset(account.key("CHECK"), a.Check);
        sset(account.key("STOPATLAST"), a.StopAtLast);
        sset(account.key("SMTP"), a.Smtp);
        sset(account.key("SMTPAuth"), a.SmtpAuth);
        sset(account.key("SMTPUNAME"), a.SmtpUName);
        WritePassword(account, "SMTPPWD", a.SmtpPwd);
        if (a.Keyring) keyring = KeepPasswordsInKeyring(account, true);
        // No keyring answering is no reason to refuse OK: the passwords stay.
        if (!keyring.empty()) tell(a.Title + ": " + keyring);
        sset(account.key("REPLYADDRESS"), a.ReplyAddress);
        sset(account.key("DISPLAYNAME"), a.DisplayName);
        sset(account.key("EXCLUSIVE0_"), a.Exclusive0);
        sset(account.key("EXCLUSIVE1_"), a.Exclusive1);
        // New keys are written only once they say something, so that an
        // installation left at its defaults keeps its file as it was.
        auto setIfSaid = [&](const std::string& key, int value, int usual) {
            if (value != usual || sget(key, "").toText() != "") sset(key, value);
        };
        const std::string port = Trim(a.SmtpPort);
        if (!port.empty()) setIfSaid(account.key("SMTPPort"), std::stoi(port), 25);
        setIfSaid(account.key("POPSECURITY"), a.PopSecurity, 0);
        setIfSaid(account.key("SMTPSECURITY"), a.SmtpSecurity, 0);
    }

    sset("DELETEONRETRIEVE", g.DeleteOnRetrieve ? 1 : 0);
    sset("DELAY", static_cast<int>(Val(g.Delay)));
    sset("AUTODELETE", g.AutoDelete ? 1 : 0);
    sset("AUDIO", g.Audio ? 1 : 0);
    sset("STARTMIN", g.StartMin ? 1 : 0);
    sset("BOUNCESUBJECT", g.BounceSubject);
    sset("BOUNCEPREFIX", g.BouncePrefix);
    sset("ScanOnStart", g.ScanOnStart);
    sset("RetrieveOnStart", g.RetrieveOnStart);
    sset("DisableReadOnServer", g.DisableReadOnServer);
    sset("ShowScannerFirst", g.ShowScannerFirst);
    sset("MaxMailSize", Val(g.MaxMailSize));
    sset("Age0", Val(g.Age0));
    sset("Age1", Val(g.Age1));
    sset("Age2", Val(g.Age2));
    sset("MailTimeout", static_cast<int>(Val(g.MailTimeout)));
    sset("DisableAutoUpdateCheck", !g.AutoUpdateCheck);
    // Kept out of Corva.ini until it is turned off, so that the file of an
    // installation that never changed it stays as it was.
    int at = 0;
    if (!g.NotifyNewMail || Settings().SettingPresent("NotifyNewMail", at) > 0)
        sset("NotifyNewMail", g.NotifyNewMail);
    sset("FontSize", Val(g.FontSize));
    if (!Trim(g.MsgFontSize).empty()) sset("MsgFontSize", Val(g.MsgFontSize));

    savesettings();
    PathsStore().SaveSettings(PathsFilePath());
    sset("langID", g.LangID);
    ApplyLanguage(LanguageIndex(g.LangID));
    globals_ = g;
    return true;
}

std::string frmSettings::ProposedSmtpPort(const std::string& port, int security) {
    const std::string p = Trim(port);
    if (!p.empty() && p != "25" && p != "465" && p != "587") return port;
    return std::to_string(corva::Account::usualSmtpPort(security));
}

std::string frmSettings::ProposedPopServer(const std::string& server, int security) {
    const auto [host, port] = corva::Account::hostAndPort(server, 0);
    if (host.empty() || (port != 0 && port != 110 && port != 995)) return server;
    const int usual = corva::Account::usualPopPort(security);
    const std::string shown = host.find(':') != std::string::npos ? "[" + host + "]" : host;
    return usual == 110 ? shown : shown + ":" + std::to_string(usual);
}

std::vector<std::string> frmSettings::Languages() const {
    return filllanguagelist();
}

std::string frmAccountWizard::PageProblem(int page, const WizardFields& f) {
    // The texts are the ones `corva account` uses too; the wizard's own test
    // of an address is only that it holds "@".
    switch (page) {
    case 0:
        if (Trim(f.UserName).empty()) return NoUserNameText;
        if (f.EmailAddress.find('@') == std::string::npos) return BadAddressText;
        return "";
    case 1:
        if (Trim(f.InboundServer).empty()) return NoInboundText;
        if (Trim(f.OutboundServer).empty()) return NoOutboundText;
        return "";
    case 2:
        if (Trim(f.LoginName).empty()) return NoLoginText;
        return "";
    case 3:
        if (Trim(f.Title).empty()) return NoTitleText;
        return "";
    default:
        return "";
    }
}

void frmAccountWizard::Finish(const WizardFields& f) {
    LoadSettings(SettingsFilePath());
    const Account first(0);
    sset(first.key("PWD"), std::string());
    sset(first.key("UNAME"), Trim(f.LoginName));
    sset(first.key("SERVER"), Trim(f.InboundServer));
    sset(first.key("TITLE"), Trim(f.Title));
    sset(first.key("CHECK"), true);
    sset(first.key("SMTP"), Trim(f.OutboundServer));
    sset(first.key("REPLYADDRESS"), Trim(f.EmailAddress));
    sset(first.key("DISPLAYNAME"), Trim(f.UserName));
    if (f.PopSecurity != 0) sset(first.key("POPSECURITY"), f.PopSecurity);
    if (f.SmtpSecurity != 0) sset(first.key("SMTPSECURITY"), f.SmtpSecurity);
    savesettings();
}

SecurityProposal frmAccountWizard::ProposeSecurity(const WizardFields& f, int timeoutMs) {
    SecurityProposal proposal;
    proposal.InboundServer = Trim(f.InboundServer);
    proposal.OutboundServer = Trim(f.OutboundServer);
    // A certificate that fails verification still shows the server speaks
    // TLS: the session will ask about it.
    const auto inbound = Account::hostAndPort(f.InboundServer, 0);
    const std::string popHost = inbound.first;
    for (const auto& [security, port] : {std::pair{1, 995}, std::pair{2, 110}}) {
        if (popHost.empty()) break;
        const int at = inbound.second != 0 ? inbound.second : port;
        if (ProbeServer(ProbeProtocol::Pop3, popHost, at, security, "", timeoutMs).secure) {
            proposal.PopSecurity = security;
            proposal.InboundServer = inbound.second != 0
                                         ? proposal.InboundServer
                                         : frmSettings::ProposedPopServer(popHost, security);
            break;
        }
    }
    const auto outbound = Account::hostAndPort(f.OutboundServer, 0);
    const std::string smtpHost = outbound.first;
    for (const auto& [security, port] : {std::pair{1, 465}, std::pair{2, 587}, std::pair{2, 25}}) {
        if (smtpHost.empty()) break;
        const int at = outbound.second != 0 ? outbound.second : port;
        if (ProbeServer(ProbeProtocol::Smtp, smtpHost, at, security, "", timeoutMs).secure) {
            proposal.SmtpSecurity = security;
            proposal.OutboundServer = smtpHost + ":" + std::to_string(at);
            break;
        }
    }
    return proposal;
}

std::string frmAccountWizard::ProposedTitle(const WizardFields& f) {
    const std::string server = Trim(f.InboundServer);
    return Trim(server.substr(0, server.find(':')));
}

bool frmAccountWizard::ConfirmCancel() {
    auto& prompts = platform::current().prompts();
    auto answer = prompts.messageBox(
        gettranslation("If you want the wizard to run again you should exit "
                       "Corva,") +
            "\r" + gettranslation("delete the configuration file ") + SettingsFilePath() +
            gettranslation("and restart Corva."),
        platform::Buttons::OkCancel, platform::Icon::Question, gettranslation("Account Wizard"));
    if (answer != platform::Answer::Ok) return false;
    prompts.messageBox(gettranslation("Before using this program you will have to set up a mail "
                                      "account. Click the spanner icon on the main menu for the "
                                      "settings page."),
                       platform::Buttons::Ok, platform::Icon::Information,
                       gettranslation("Account Wizard"));
    return true;
}

} // namespace corva
