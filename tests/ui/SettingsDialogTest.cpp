// The settings dialog and the first-run wizard as the user drives them: the
// refusals with their texts, and what reaches Corva.ini on OK and on Finish.
#include "ui/UiFixture.h"

#include "core/AppInfo.h"
#include "core/Strings.h"
#include "core/cSHAREDSettings.h"
#include "cycle/UpdateCheckLink.h"
#include "platform/Crypto.h"
#include "support/DovecotServer.h"
#include "support/HttpServer.h"
#include "support/SmtpServer.h"
#include "support/TestCertificates.h"
#include "ui/AccountWizardDialog.h"
#include "ui/SettingsDialog.h"
#include "ui/UpdaterWindow.h"

#include <QCheckBox>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>

namespace corva::test {
namespace {

// Corva.ini as a fresh load of the file finds it.
cSHAREDSettings onDisk() {
    cSHAREDSettings s;
    s.LoadSettings(SettingsFilePath());
    return s;
}

// The keys' values as "KEY=value" words, numbers without the blanks they are kept with.
std::string stored(const cSHAREDSettings& ini, const std::vector<const char*>& keys) {
    std::string out;
    for (const char* key : keys)
        out +=
            (out.empty() ? "" : " ") + std::string(key) + "=" + Trim(ini.sGet(key, "?").toText());
    return out;
}

class SettingsDialogTest : public ScannerFixture {
protected:
    void SetUp() override {
        ScannerFixture::SetUp();
        start();
        dialog = std::make_unique<ui::SettingsDialog>(window.get());
        dialog->show();
    }
    void TearDown() override {
        dialog.reset();
        ScannerFixture::TearDown();
    }
    void type(const char* field, const QString& text) { dialog->field(field)->setText(text); }

    std::unique_ptr<ui::SettingsDialog> dialog;
};

TEST_F(SettingsDialogTest, RefusesBadAgesAndTimeoutsWithTheirTextsAndStoresNothing) {
    type("SERVER", "pop.example.test");
    type("Age0", "30");
    type("Age1", "14");
    type("Age2", "14");
    EXPECT_FALSE(dialog->confirm());
    ASSERT_EQ(prompts().size(), 1u);
    EXPECT_EQ(prompts()[0], "Age 2 is less than Age 3");

    type("Age2", "1");
    type("MailTimeout", "1000");
    EXPECT_FALSE(dialog->confirm());
    ASSERT_EQ(prompts().size(), 2u);
    EXPECT_EQ(prompts()[1], "Timeout must be 0 to 999 seconds");

    type("MailTimeout", "0");
    type("REPLYADDRESS", "no-at-sign");
    EXPECT_FALSE(dialog->confirm());
    EXPECT_EQ(prompts().back(), "Please enter a valid email for the reply address");
    EXPECT_TRUE(dialog->isVisible()) << "a refusal leaves the dialog open";
    EXPECT_EQ(onDisk().sGet("SERVER0", "").toText(), "");

    type("REPLYADDRESS", "");
    EXPECT_TRUE(dialog->confirm()) << "ages 30, 14, 1, a time-out of 0 and no reply address pass";
    EXPECT_FALSE(dialog->isVisible());
}

TEST_F(SettingsDialogTest, OkWritesEveryEditedAccountAndTheGlobalsToCorvaIni) {
    saveScreenshot(*dialog, "settings");
    type("TITLE", "Home");
    type("SERVER", "pop.home.test");
    type("UNAME", "ann");
    type("REPLYADDRESS", "ann@home.test");
    dialog->box("CHECK")->setChecked(true);
    dialog->selectAccount(1);
    EXPECT_EQ(dialog->field("TITLE")->text(), "Account 2");
    EXPECT_EQ(dialog->field("SMTPPort")->text(), "25");
    type("TITLE", "Work");
    type("SERVER", "pop.work.test");
    // A security choice proposes its usual port; the port field keeps what it shows.
    dialog->popSecurity()->setCurrentIndex(1);
    dialog->smtpSecurity()->setCurrentIndex(2);
    EXPECT_EQ(dialog->field("SERVER")->text(), "pop.work.test:995");
    EXPECT_EQ(dialog->field("SMTPPort")->text(), "587");
    // The list shows the edited title of the account left behind.
    auto* list = dialog->findChild<QListWidget*>("lstAccounts");
    EXPECT_EQ(list->item(0)->text(), "1 - Home");
    type("MailTimeout", "45");
    dialog->box("STARTMIN")->setChecked(true);
    dialog->findChild<QTabWidget*>()->setCurrentIndex(1);
    saveScreenshot(*dialog, "settings-checking");
    dialog->findChild<QTabWidget*>()->setCurrentIndex(2);
    saveScreenshot(*dialog, "settings-display");
    dialog->findChild<QTabWidget*>()->setCurrentIndex(3);
    saveScreenshot(*dialog, "settings-folders");

    ASSERT_TRUE(dialog->confirm()) << (prompts().empty() ? "" : prompts().back());
    cSHAREDSettings ini = onDisk();
    EXPECT_EQ(stored(ini, {"TITLE0", "SERVER0", "UNAME0", "REPLYADDRESS0", "TITLE1", "SERVER1",
                           "POPSECURITY1", "SMTPSECURITY1", "SMTPPORT1", "TITLE19", "MailTimeout"}),
              "TITLE0=Home SERVER0=pop.home.test UNAME0=ann REPLYADDRESS0=ann@home.test "
              "TITLE1=Work SERVER1=pop.work.test:995 POPSECURITY1=1 SMTPSECURITY1=2 "
              "SMTPPORT1=587 TITLE19=Account 20 MailTimeout=45");
    EXPECT_TRUE(ini.sGet("CHECK0", false).toBool());
    EXPECT_FALSE(ini.sGet("CHECK1", true).toBool());
    // The start-up test compares with the text "1".
    EXPECT_EQ(ini.sGet("STARTMIN", "").toText().find('1') != std::string::npos, true);
    // An account left at its defaults gains no keys.
    for (const char* key : {"SMTPPORT0", "POPSECURITY0", "SMTPSECURITY0"})
        EXPECT_EQ(ini.sGet(key, "none").toText(), "none") << key;

    // Opened again, the dialog shows what was stored.
    ui::SettingsDialog again(window.get());
    EXPECT_EQ(again.field("TITLE")->text(), "Home");
    again.selectAccount(1);
    EXPECT_EQ(again.field("SERVER")->text(), "pop.work.test:995");
    EXPECT_EQ(again.smtpSecurity()->currentIndex(), 2);
    EXPECT_TRUE(again.box("STARTMIN")->isChecked());
}

TEST_F(SettingsDialogTest, AMissingSpamArchiveIsResetAndOkStillCompletes) {
    type("SpamFolder", QString::fromStdString(dir.path() + "nowhere"));
    EXPECT_TRUE(dialog->confirm());
    ASSERT_EQ(prompts().size(), 1u);
    EXPECT_EQ(prompts()[0].rfind("Invalid spam archive path. Resetting to ", 0), 0u);
}

// The wizard runs before any settings exist.
TEST_F(SettingsDialogTest, UpdaterShowsDetailsDownloadsAndTheProxyRefusesUnequalPasswords) {
    HttpServer server;
    ASSERT_TRUE(server.running());
    const std::string build(200000, 'z');
    server.put("files/corva-900.deb", build);
    server.put("versions/QBX_current.txt",
               "9.0.0\r\n" + server.url() + "files/corva-@@@.deb " + platform::sha256Hex(build));
    server.put("versions/QBX_details.txt", "Corva 9.0.0\r\n\r\n- Faster scans\r\n");
    sset("UpdateServer", server.url());
    platform_.prompts_.answer = platform::Answer::Yes; // see the details, install

    ui::UpdaterWindow& updater =
        ui::UpdaterWindow::open(main->UpdateCheck()->Updater(), window.get());
    updater.check();
    EXPECT_EQ(updater.findChild<QPlainTextEdit*>("txtDetails")->toPlainText(),
              "Corva 9.0.0\n\n- Faster scans\n");
    saveScreenshot(updater, QStringLiteral("updater-details"));
    updater.findChild<QPushButton*>("cmdDownloadInstall")->click();
    EXPECT_EQ(updater.findChild<QProgressBar*>("prgDownload")->value(), 100);
    EXPECT_TRUE(FileExists(AppPath() + "corva-900.deb"));
    saveScreenshot(updater, QStringLiteral("updater-downloaded"));

    ui::ProxyDialog proxy(dialog.get());
    proxy.show();
    proxy.findChild<QRadioButton*>("optManual")->setChecked(true);
    proxy.findChild<QLineEdit*>("txtServer")->setText("proxy.example.test");
    proxy.findChild<QLineEdit*>("txtPassword")->setText("one");
    proxy.findChild<QLineEdit*>("txtConfirm")->setText("two");
    saveScreenshot(proxy, QStringLiteral("proxy-settings"));
    EXPECT_FALSE(proxy.save());
    EXPECT_EQ(prompts().back(), "Your passwords don't match.  Please retype them.");
    EXPECT_EQ(sget("ProxyServer", "").toText(), "");
    proxy.findChild<QLineEdit*>("txtPassword")->setText("one");
    proxy.findChild<QLineEdit*>("txtConfirm")->setText("one");
    EXPECT_TRUE(proxy.save());
    EXPECT_EQ(sget("ProxyType", 0).toLong(), 2);
    EXPECT_EQ(sget("ProxyServer", "").toText(), "proxy.example.test");
    updater.close();
}

class AccountWizardTest : public ::testing::Test {
protected:
    AccountWizardTest() : scoped_(platform_) {}
    void SetUp() override {
        dir.makeProgramFolder();
        wizard.show();
    }
    void type(const char* field, const QString& text) { wizard.field(field)->setText(text); }
    const std::vector<std::string>& prompts() { return platform_.prompts_.messages; }

    UiPlatform platform_;
    platform::ScopedPlatform scoped_;
    TempDir dir;
    ui::AccountWizardDialog wizard;
};

TEST_F(AccountWizardTest, EachPageRefusesToMoveOnUntilFilledAndFinishWritesAccountZero) {
    saveScreenshot(wizard, "wizard");
    wizard.next();
    EXPECT_EQ(wizard.currentId(), 0);
    ASSERT_EQ(prompts().size(), 1u);
    EXPECT_EQ(prompts()[0], "Please specify a user name");
    type("UserName", "Ann Example");
    type("EmailAddress", "ann.example.test");
    wizard.next();
    EXPECT_EQ(prompts().back(), "Please specify a valid email address, e.g. fred@example.com");
    type("EmailAddress", "ann@example.test");
    wizard.next();
    ASSERT_EQ(wizard.currentId(), 1);
    type("InboundServer", "pop.example.test");
    type("OutboundServer", "smtp.example.test");
    saveScreenshot(wizard, "wizard-servers");
    wizard.next();
    type("LoginName", "ann");
    wizard.next();
    ASSERT_EQ(wizard.currentId(), 3);
    EXPECT_EQ(wizard.field("Title")->text(), "pop.example.test") << "the server's name is offered";

    // Finish on an emptied last page is refused like Next, and writes nothing.
    type("Title", "");
    size_t before = prompts().size();
    wizard.accept();
    EXPECT_EQ(prompts().size(), before + 1);
    EXPECT_EQ(prompts().back(), "Please specify a title for this mail account");
    EXPECT_FALSE(FileExists(SettingsFilePath()));
    EXPECT_FALSE(wizard.finished());

    type("Title", "Home");
    wizard.accept();
    EXPECT_TRUE(wizard.finished());
    cSHAREDSettings ini = onDisk();
    EXPECT_EQ(stored(ini, {"SERVER0", "UNAME0", "TITLE0", "SMTP0", "REPLYADDRESS0", "DISPLAYNAME0",
                           "PWD0"}),
              "SERVER0=pop.example.test UNAME0=ann TITLE0=Home SMTP0=smtp.example.test "
              "REPLYADDRESS0=ann@example.test DISPLAYNAME0=Ann Example PWD0=");
    EXPECT_TRUE(ini.sGet("CHECK0", false).toBool());
}

TEST_F(AccountWizardTest, CancelAsksFirstAndOnlyAYesLeavesWithoutSettings) {
    platform_.prompts_.answer = platform::Answer::Cancel;
    wizard.reject();
    EXPECT_TRUE(wizard.isVisible());
    ASSERT_EQ(prompts().size(), 1u);
    EXPECT_EQ(prompts()[0].rfind("If you want the wizard to run again you should exit Corva,\r", 0),
              0u);

    platform_.prompts_.answer = platform::Answer::Ok;
    wizard.reject();
    EXPECT_FALSE(wizard.isVisible());
    EXPECT_EQ(prompts().back(), "Before using this program you will have to set up a mail account. "
                                "Click the spanner icon on the main menu for the settings page.");
    EXPECT_FALSE(FileExists(SettingsFilePath()));
}

// "Find secure settings" against real servers: implicit TLS where it is
// offered, else STLS/STARTTLS, with the ports typed kept.
TEST_F(AccountWizardTest, FindSecureSettingsChoosesWhatTheServersOffer) {
    if (!DovecotServer::available()) GTEST_SKIP() << "Dovecot is not installed";
    const TestCertificates& certs = TestCertificates::get();
    ASSERT_TRUE(certs.ok());
    DovecotServer pop(certs.good.chain, certs.good.key);
    const struct {
        bool implicit;
        int popPort;
        const char* found;
    } rows[] = {
        {true, pop.securePort(), "Incoming: SSL/TLS. Outgoing: SSL/TLS."},
        {false, pop.port(), "Incoming: STARTTLS. Outgoing: STARTTLS."},
    };
    wizard.restart();
    type("UserName", "Ann Example");
    type("EmailAddress", "ann@example.test");
    wizard.next();
    for (const auto& row : rows) {
        SmtpServer smtp("ann", "secret", row.implicit ? "implicit" : "starttls", certs.good.chain,
                        certs.good.key);
        const QString in = QStringLiteral("localhost:%1").arg(row.popPort);
        const QString out = QStringLiteral("localhost:%1").arg(smtp.port());
        type("InboundServer", in);
        type("OutboundServer", out);
        wizard.findChild<QPushButton*>(QStringLiteral("cmdFindSecure"))->click();
        const int security = row.implicit ? 1 : 2;
        EXPECT_EQ(wizard.findChild<QComboBox*>(QStringLiteral("POPSECURITY"))->currentIndex(),
                  security);
        EXPECT_EQ(wizard.findChild<QComboBox*>(QStringLiteral("SMTPSECURITY"))->currentIndex(),
                  security);
        EXPECT_EQ(wizard.field("InboundServer")->text(), in);
        EXPECT_EQ(wizard.field("OutboundServer")->text(), out);
        bool said = false;
        for (QLabel* l : wizard.findChildren<QLabel*>())
            said = said || l->text() == QLatin1String(row.found);
        EXPECT_TRUE(said) << row.found;
        saveScreenshot(wizard, row.implicit ? "wizard-secure-implicit" : "wizard-secure-starttls");
    }
    EXPECT_TRUE(prompts().empty()) << prompts().front();
}

} // namespace
} // namespace corva::test
