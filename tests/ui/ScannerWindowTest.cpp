// The scanner window over a real scan: the words and colours of its lines,
// the block command's instant recolouring, the headers pane and the menu, and
// the close box and quit with mail left in the Outbox.
#include "ui/UiFixture.h"

#include "core/Account.h"
#include "core/DateTime.h"
#include "support/DovecotServer.h"
#include "support/TestCertificates.h"
#include "ui/CMSWindows.h"
#include "ui/MailerPreview.h"
#include "ui/RemindersWindow.h"

#include <QAction>
#include <QApplication>
#include <QHeaderView>
#include <QImage>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPalette>
#include <QPushButton>
#include <QShortcut>
#include <QTimer>
#include <QTreeView>
#include <QTreeWidget>

#include <algorithm>

namespace corva::test {
namespace {

const QColor Green(0x00, 0x80, 0x00);
const QColor Orange(0xFF, 0x80, 0x00);

class ScannerScanTest : public ScannerFixture {
protected:
    static void SetUpTestSuite() {
        if (!DovecotServer::available()) return;
        server = std::make_unique<DovecotServer>();
        server->addUser("ann", "secret");
    }
    static void TearDownTestSuite() { server.reset(); }

    void SetUp() override {
        if (!server) GTEST_SKIP() << "Dovecot is not installed";
        ScannerFixture::SetUp();
        server->clearMailbox("ann");
        server->addMessage("ann", mailText("friend@example.org", "ann@a.test", "lunch on friday"));
        server->addMessage("ann",
                           mailText("spammer@elsewhere.test", "ann@a.test", "cheap watches"));
        server->addMessage("ann", mailText("Shop <promo@shop.test>", "ann@a.test", "big sale"));
        server->addMessage("ann", mailText("promo@shop.test", "ann@a.test", "last chance"));
        writeFile(dir.file("Blocked.txt"), "spammer@elsewhere.test\r\n");
        start();
        setAccount(0, server->address(), "ann", "Ann");
        ASSERT_TRUE(scan());
    }

    static std::unique_ptr<DovecotServer> server;
};

std::unique_ptr<DovecotServer> ScannerScanTest::server;

TEST_F(ScannerScanTest, ScanFillsTheListWithVerdictWordsAndColours) {
    // The lines reach the view in batches: soon after the scan, on their own.
    EXPECT_TRUE(platform::current().eventLoop().runUntil(
        [&] { return window->listView().model()->rowCount() == 5; }, 2000));
    ASSERT_EQ(model().lineCount(), 5) << "a server line and four messages";
    EXPECT_EQ(model().line(0).kind, ListLine::Kind::Server);
    EXPECT_EQ(shown(0, 0), "Ann");
    EXPECT_TRUE(model().data(model().index(0, 0), Qt::FontRole).value<QFont>().bold());

    int lunch = rowOf("lunch on friday");
    int watches = rowOf("cheap watches");
    ASSERT_GE(lunch, 0);
    ASSERT_GE(watches, 0);
    EXPECT_EQ(shown(lunch, 0), "PASS");
    EXPECT_EQ(colour(lunch), Green);
    EXPECT_EQ(shown(watches, 0), "BLOCK");
    EXPECT_EQ(colour(watches), Orange);
    EXPECT_EQ(shown(watches, 4), "Sender Blocked");
    EXPECT_EQ(shown(lunch, 2), "friend@example.org");
    EXPECT_EQ(shown(lunch, 5), "ann@a.test");
    EXPECT_TRUE(shown(lunch, 1).endsWith("kb"));
    EXPECT_EQ(shown(watches, 6), "0");
    EXPECT_EQ(shown(watches, 7), "2");

    QStringList captions;
    for (int c = 0; c < model().columnCount(); ++c)
        captions << model().headerData(c, Qt::Horizontal, Qt::DisplayRole).toString();
    EXPECT_EQ(captions.join(','), "Status,Size,From,Subject,Filtered By,To,Accnt,Msg,MsgNum");
    EXPECT_EQ(window->trayTip(), "Corva - Ann - 3 message(s)");
    EXPECT_FALSE(window->toolbarAction("stop")->isEnabled()) << "stop is for a running cycle";
    saveScreenshot(*window, "scanner");

    // The tray icon flashes without losing its tip.
    ASSERT_EQ(window->trayPicture(), TrayPicture::GotMail);
    main->starticontimer();
    EXPECT_EQ(window->trayPicture(), TrayPicture::SmallS);
    EXPECT_EQ(window->trayTip(), "Corva - Ann - 3 message(s)");
    EXPECT_TRUE(platform::current().eventLoop().runUntil(
        [&] { return window->trayPicture() == TrayPicture::GotMail; }, 2000));
    main->stopicontimer();
    EXPECT_EQ(window->trayTip(), "Corva - Ann - 3 message(s)");

    // A dark palette lightens the verdict colours, and the pictures follow: the
    // scan glass is drawn in the light ink.
    const QPalette light = QApplication::palette();
    QApplication::setPalette(darkPalette());
    QApplication::processEvents(); // the change reaches the window as an event
    QColor onDark = colour(lunch);
    QImage glass = window->toolbarAction("scan")->icon().pixmap(32, 32).toImage();
    int lightInk = 0;
    for (int y = 0; y < glass.height(); ++y)
        for (int x = 0; x < glass.width(); ++x)
            if (qAlpha(glass.pixel(x, y)) > 200 && QColor(glass.pixel(x, y)).lightness() > 160)
                ++lightInk;
    EXPECT_GT(lightInk, 20);
    saveScreenshot(*window, "scanner-dark");
    QApplication::setPalette(light);
    QApplication::processEvents();
    EXPECT_GT(onDark.lightness(), Green.lightness());
    EXPECT_EQ(colour(lunch), Green);
}

TEST_F(ScannerScanTest, BlockingASenderRecoloursAllItsLinesWithoutConnecting) {
    int sale = rowOf("big sale");
    ASSERT_GE(sale, 0);
    ASSERT_EQ(shown(sale, 0), "PASS");

    window->selectRow(sale);
    window->runLineCommand("Block sender");

    // Redrawn at once, from the last scan (the cycle's tests pin that no server is asked).
    EXPECT_EQ(model().line(0).Status, "Rescan");
    for (const char* subject : {"big sale", "last chance"}) {
        int row = rowOf(subject);
        ASSERT_GE(row, 0) << subject;
        EXPECT_EQ(shown(row, 0), "BLOCK") << subject;
        EXPECT_EQ(colour(row), Orange) << subject;
    }
    EXPECT_EQ(shown(rowOf("lunch on friday"), 0), "PASS");
    EXPECT_NE(readFile(dir.file("Blocked.txt")).find("promo@shop.test"), std::string::npos);

    window->selectRow(rowOf("last chance"));
    window->runLineCommand("Unblock sender");
    EXPECT_EQ(shown(rowOf("big sale"), 0), "PASS");
    EXPECT_EQ(colour(rowOf("big sale")), Green);
}

TEST_F(ScannerScanTest, TheTrayMenuNamesTheAccountsAndScansOneOfferingStop) {
    QMenu* accounts = nullptr;
    for (QMenu* m : window->findChildren<QMenu*>())
        if (m->title() == "Scan Account") accounts = m;
    ASSERT_NE(accounts, nullptr);
    emit accounts->aboutToShow();
    ASSERT_EQ(accounts->actions().size(), 4);
    EXPECT_EQ(accounts->actions()[0]->text(), "Ann");
    EXPECT_EQ(accounts->actions()[1]->text(), "Account 2");

    window->selectRow(rowOf("big sale"));
    window->runLineCommand("Block sender"); // the list now starts with "Rescan"
    accounts->actions()[0]->trigger();
    // While it scans the toolbar offers Stop.
    ASSERT_TRUE(main->Checking());
    EXPECT_TRUE(window->toolbarAction("stop")->isEnabled());
    EXPECT_EQ(window->toolbarAction("upanddown")->text(), "Stop");
    saveScreenshot(*window, "scanner-scanning");
    ASSERT_TRUE(
        platform::current().eventLoop().runUntil([&] { return !main->CycleRunning(); }, 30000));
    EXPECT_FALSE(window->toolbarAction("stop")->isEnabled());
    EXPECT_EQ(window->toolbarAction("upanddown")->text(), "Send/Receive");
    EXPECT_EQ(model().line(0).Status, "Ann");
    EXPECT_EQ(shown(rowOf("last chance"), 0), "BLOCK");
}

TEST_F(ScannerScanTest, SelectingALineShowsItsHeadersAndTailorsTheMenu) {
    int lunch = rowOf("lunch on friday");
    window->selectRow(lunch);
    EXPECT_TRUE(window->headersText().contains("Subject: lunch on friday"));
    auto* number = window->findChild<QLabel*>("lblMessageNumber");
    EXPECT_EQ(number->text(), "Msg: 1 on Ann");

    std::unique_ptr<QMenu> menu(window->buildRightClickMenu());
    QStringList entries;
    for (QAction* a : menu->actions())
        if (!a->isSeparator()) entries << a->text();
    EXPECT_TRUE(entries.contains("Read Message 1 on account Ann"))
        << entries.join('|').toStdString();
    EXPECT_TRUE(entries.contains("View Message 1 Source"));
    EXPECT_TRUE(entries.contains("Block sender"));
    EXPECT_EQ(entries.last(), "Dismiss Menu");

    // A server line is no message: the commands are refused quietly.
    window->selectRow(0);
    EXPECT_TRUE(window->headersText().isEmpty());
    EXPECT_EQ(number->text(), "Server");
    window->runLineCommand("Block sender");
    EXPECT_EQ(readFile(dir.file("Blocked.txt")), "spammer@elsewhere.test\r\n");

    // What a bounce decides is the logic's; the menu entry only has to reach it.
    window->selectRow(rowOf("cheap watches"));
    window->runLineCommand("Bounce selected message(s)");
    std::vector<std::string> spooled;
    FillFiles(MessageFolder + OutboxFolder, "eml", spooled);
    EXPECT_EQ(spooled.size(), 1u);
    EXPECT_EQ(prompts().back().rfind("Selected messages have been bounced.", 0), 0u);
}

TEST_F(ScannerScanTest, ReadAndDownloadFetchTheOneMessageFromTheServer) {
    window->selectRow(rowOf("lunch on friday"));
    window->runLineCommand("Read Message");
    // Read as the mailer reads: in its reader window.
    QWidget* reader = nullptr;
    platform::current().eventLoop().runUntil(
        [&] { return (reader = window->findChild<QWidget*>(QStringLiteral("reader"))) != nullptr; },
        10000);
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(reader->windowTitle(), "lunch on friday");
    QString text = ui::previewShownText(reader->findChild<QWidget*>(QStringLiteral("preview")));
    EXPECT_TRUE(text.contains("Hello.")) << text.toStdString();
    EXPECT_EQ(window->statusPanelText(1), "Viewing email");
    delete reader;

    window->selectRow(rowOf("big sale"));
    window->runLineCommand("Download selected message to inbox");
    std::vector<std::string> stored;
    platform::current().eventLoop().runUntil(
        [&] {
            stored.clear();
            FillFiles(MessageFolder + InboxFolder, "eml", stored);
            return !stored.empty();
        },
        10000);
    ASSERT_EQ(stored.size(), 1u);
    EXPECT_EQ(stored[0].rfind("DOWNLOAD", 0), 0u) << stored[0] << " is a new, unread message";
    EXPECT_NE(readFile(MessageFolder + "Inbox/" + stored[0]).find("Subject: big sale"),
              std::string::npos);
    // Nothing left the server.
    EXPECT_EQ(server->messageCount("ann"), 4);
}

TEST_F(ScannerScanTest, DoubleClickNeedsTheUnnumberedDisplayNameAndReadingAllowed) {
    QModelIndex lunch = model().index(rowOf("lunch on friday"), 0);
    window->selectRow(lunch.row());
    emit window->listView().doubleClicked(lunch);
    ASSERT_EQ(prompts().size(), 1u);
    EXPECT_EQ(prompts()[0],
              "Before sending mail you must specify a Reply-To email address in the settings.");

    sset("DisableReadOnServer", true);
    main->readsettings();
    emit window->listView().doubleClicked(lunch);
    EXPECT_EQ(prompts().size(), 1u) << "reading on the server is switched off";
}

class ScannerLifeTest : public ScannerFixture {};

TEST_F(ScannerLifeTest, QuitWithMailInTheOutboxAsksAndNoKeepsRunning) {
    start();
    writeFile(MessageFolder + "Outbox/00waiting.eml", "Subject: later\r\n\r\nbody\r\n");
    platform_.prompts_.answer = platform::Answer::No;
    window->toolbarAction("menu:quit")->trigger();

    // The question and what No keeps running are the cycle's; the window stays.
    EXPECT_EQ(prompts().size(), 1u);
    EXPECT_TRUE(window->isVisible());
}

TEST_F(ScannerLifeTest, TheCloseBoxHidesAndTheTrayBringsItBackAsItWas) {
    start();
    window->setTrayAvailable(true);
    sset("MainWindowState", 2);
    window->close();
    EXPECT_FALSE(window->isVisible());
    EXPECT_FALSE(main->shutDown());
    EXPECT_EQ(sget("MainWindowState", -1).toInt(), 0);
    EXPECT_TRUE(prompts().empty());
    window->showFromTray();
    EXPECT_TRUE(window->isVisible());
    EXPECT_FALSE(window->isMaximized());

    window->showMaximized();
    window->toolbarAction("close")->trigger();
    EXPECT_FALSE(window->isVisible());
    EXPECT_EQ(sget("MainWindowState", -1).toInt(), 2);
    window->showFromTray();
    EXPECT_TRUE(window->isMaximized());
}

TEST_F(ScannerLifeTest, WithoutATrayTheCloseBoxQuitsAndCtrlQQuitsAlways) {
    start();
    window->setTrayAvailable(false);
    window->close();
    EXPECT_TRUE(main->shutDown()) << "hidden, it could never be shown again";

    stop();
    start();
    window->setTrayAvailable(false);
    window->toolbarAction("close")->trigger();
    EXPECT_TRUE(main->shutDown()) << "the Close button is the close box";

    stop();
    start();
    for (QShortcut* key : window->findChildren<QShortcut*>())
        if (key->key() == QKeySequence(Qt::CTRL | Qt::Key_Q)) emit key->activated();
    EXPECT_TRUE(main->shutDown());
}

TEST_F(ScannerLifeTest, TheFirstSizeShowsAllNineColumnsOnASmallLaptopScreen) {
    start();
    EXPECT_GT(window->width(), 7668 / 15) << "no size stored yet: the window keeps its own";
    window->resize(ui::ScannerWindow::firstWindowSize(QSize(1280, 770)));
    QApplication::processEvents();
    EXPECT_LE(window->width(), 1280);
    EXPECT_LE(window->listView().header()->length(), window->listView().viewport()->width());
    saveScreenshot(*window, "scanner-first-size");
}

TEST_F(ScannerLifeTest, StartMinimisedHidesTheWindow) {
    writeFile(dir.file("Corva.ini"), "STARTMIN,1\r\n");
    start();
    EXPECT_TRUE(window->hiddenAtStart());
    EXPECT_FALSE(window->isVisible());
}

// The ticket list's button stands only with CMSMODE, and opens the list.
TEST_F(ScannerLifeTest, TheCmsButtonStandsOnlyInCmsModeAndOpensTheList) {
    start();
    EXPECT_FALSE(window->toolbarAction("cms") && window->toolbarAction("cms")->isVisible());
    stop();
    writeFile(dir.file("Corva.ini"), "CMSMODE,1\r\n");
    start();
    ASSERT_TRUE(window->toolbarAction("cms"));
    EXPECT_TRUE(window->toolbarAction("cms")->isVisible());
    window->toolbarAction("cms")->trigger();
    EXPECT_TRUE(window->findChild<ui::CMSTicketListWindow*>());
}

TEST_F(ScannerLifeTest, SilentFlipsTheAudioAlertsAtOnce) {
    writeFile(dir.file("Corva.ini"), "AUDIO,1\r\n");
    start();
    ASSERT_TRUE(main->AudioOn());
    QAction* silent = nullptr;
    for (QAction* a : window->findChildren<QAction*>())
        if (a->text() == "Silent") silent = a;
    ASSERT_NE(silent, nullptr);
    EXPECT_FALSE(silent->isChecked());

    silent->trigger();
    EXPECT_EQ(sget("AUDIO", -1).toInt(), 0);
    EXPECT_FALSE(main->AudioOn());
    silent->trigger();
    EXPECT_EQ(sget("AUDIO", -1).toInt(), 1);
    EXPECT_TRUE(main->AudioOn());
}

// A secure server whose certificate can't be verified: the window asks, with
// what the user needs to decide, and the answer holds for that server.
class TrustDialogTest : public ScannerFixture {
protected:
    // The Qt dialog, not the recorder's "no"; everything else still recorded.
    class AskingPlatform : public UiPlatform {
    public:
        struct Prompts : RecordingPrompts {
            bool trustCertificate(const std::string& server,
                                  const platform::CertificateInfo& c) override {
                return real->trustCertificate(server, c);
            }
            platform::Prompts* real = nullptr;
        };
        platform::Prompts& prompts() override { return asking; }
        Prompts asking;
    };
    static void SetUpTestSuite() { real = &platform::current().prompts(); }

    // Answers each trust dialog with the button named, keeping its text.
    void answerWith(const QString& button) {
        answerer.disconnect();
        answerer.callOnTimeout([this, button] {
            for (QWidget* w : QApplication::topLevelWidgets()) {
                auto* box = qobject_cast<QMessageBox*>(w);
                if (!box || !box->isVisible()) continue;
                asked.push_back(box->text());
                saveScreenshot(*box, "trust-dialog");
                for (QAbstractButton* b : box->buttons())
                    if (b->text() == button) b->click();
            }
        });
        answerer.start(50);
    }
    std::string notices() {
        std::string all;
        for (int r = 0; r < model().lineCount(); ++r)
            if (model().line(r).kind == ListLine::Kind::Notice)
                all += model().line(r).Status + "\n";
        return all;
    }

    static platform::Prompts* real;
    QTimer answerer;
    std::vector<QString> asked;
};
platform::Prompts* TrustDialogTest::real = nullptr;

TEST_F(TrustDialogTest, RefuseTrustAndAChangedCertificate) {
    if (!DovecotServer::available()) GTEST_SKIP() << "Dovecot is not installed";
    const TestCertificates& certs = TestCertificates::get();
    ASSERT_TRUE(certs.ok());
    DovecotServer server(certs.selfSigned.chain, certs.selfSigned.key);
    server.addUser("ann", "secret");
    server.addMessage("ann", mailText("bob@example.org", "ann@a.test", "hello over tls"));
    AskingPlatform asking;
    asking.asking.real = real;
    platform::ScopedPlatform scoped(asking);
    start();
    setAccount(0, "localhost:" + std::to_string(server.securePort()), "ann", "Ann");
    sset("POPSECURITY0", 1);

    answerWith(QStringLiteral("Refuse"));
    ASSERT_TRUE(scan());
    ASSERT_EQ(asked.size(), 1u);
    for (const char* part :
         {"could not be verified", "Subject: ", "Issuer: ", "Valid from ", "SHA-256 fingerprint: "})
        EXPECT_TRUE(asked[0].contains(QLatin1String(part))) << part;
    EXPECT_NE(notices().find("was not accepted"), std::string::npos) << notices();
    EXPECT_EQ(Account(0).trustedCertificate("POP"), "");
    EXPECT_EQ(rowOf("hello over tls"), -1);

    answerWith(QStringLiteral("Trust"));
    ASSERT_TRUE(scan());
    ASSERT_EQ(asked.size(), 2u);
    const std::string fingerprint = Account(0).trustedCertificate("POP");
    EXPECT_FALSE(fingerprint.empty());
    EXPECT_TRUE(asked[1].contains(QString::fromStdString(fingerprint)));
    EXPECT_GE(rowOf("hello over tls"), 0);

    // The server now shows another certificate than the one trusted: refused
    // with a warning, and nobody is asked.
    Account(0).setTrustedCertificate("POP", "00:11:22");
    ASSERT_TRUE(scan());
    EXPECT_EQ(asked.size(), 2u);
    EXPECT_NE(notices().find("has changed since you trusted it, and is refused"), std::string::npos)
        << notices();
    saveScreenshot(*window, "trust-changed");
}

} // namespace
} // namespace corva::test

namespace corva::test {
namespace {

// Today's events in the header pane and the reminder view at start; the event
// window adds and deletes in reminders.ics.
TEST_F(ScannerFixture, RemindersShowTodayAndTheEventWindowEditsTheFile) {
    const std::string today = DateTime::today().format("yyyymmdd");
    writeFile(dir.file("reminders.ics"),
              "BEGIN:VCALENDAR\r\nBEGIN:VEVENT\r\nUID:s\r\nDTSTART;VALUE=DATE:" + today +
                  "\r\nSUMMARY:Quarterly report due\r\nEND:VEVENT\r\nBEGIN:VEVENT\r\nUID:t\r\n"
                  "DTSTART:" +
                  today +
                  "T000000\r\nSUMMARY:Team standup\r\nLOCATION:Room 4\r\nEND:VEVENT\r\n"
                  "END:VCALENDAR\r\n");
    window = std::make_unique<ui::ScannerWindow>();
    main = std::make_unique<frmMain>(window.get());
    window->attach(main.get());
    ui::ScannerReminders reminders(*window, *main);
    main->setReminderView(&reminders);
    frmMain::StartOptions options;
    options.autoScan = frmMain::AutoScan::Off;
    main->StartProgram(options);
    window->show();
    EXPECT_EQ(window->findChild<QLabel*>("lblHeaders")->text(), "Events:");
    EXPECT_EQ(window->headersText(),
              "TODAY: Quarterly report due\nTODAY: 00:00 Team standup (Room 4)\n");
    ASSERT_TRUE(reminders.reminder());
    EXPECT_TRUE(reminders.reminder()->isVisible());
    saveScreenshot(*reminders.reminder(), "event_reminder");

    main->starttkl();
    ui::RemindersWindow* editor = reminders.editor();
    ASSERT_TRUE(editor);
    EXPECT_EQ(editor->list()->topLevelItemCount(), 2);
    editor->fill("Dentist", QDateTime(QDate(2030, 1, 2), QTime(9, 30)), false, 2, 30);
    ASSERT_TRUE(editor->cmdSave_Click());
    ASSERT_EQ(editor->list()->topLevelItemCount(), 3);
    editor->list()->setCurrentItem(editor->list()->topLevelItem(2));
    editor->show();
    saveScreenshot(*editor, "reminders_window");
    const std::string file = readFile(dir.file("reminders.ics"));
    for (const char* line :
         {"SUMMARY:Dentist", "DTSTART:20300102T093000", "RRULE:FREQ=WEEKLY", "TRIGGER:-PT30M"})
        EXPECT_NE(file.find(line), std::string::npos) << line << file;
    ASSERT_TRUE(editor->cmdDelete_Click());
    EXPECT_EQ(readFile(dir.file("reminders.ics")).find("Dentist"), std::string::npos);
    main->setReminderView(nullptr);
}

} // namespace
} // namespace corva::test
