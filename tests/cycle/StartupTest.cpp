// Start-up, shutdown and the auto-scan timer of frmMain, and the small rules
// of the list and of stored file names.
#include "cycle/CycleFixture.h"

#include "core/AppInfo.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/mSHAREDLogging.h"
#include "cycle/frmSettings.h"
#include "filters/frmFilters.h"
#include "message/clsMessage.h"

namespace corva::test {
namespace {

class StartupTest : public CycleFixture {
protected:
    // Starts again on what the last run saved.
    void restart(frmMain::AutoScan autoScan = frmMain::AutoScan::Off) {
        stop();
        view = RecordingView();
        start(autoScan);
    }
    // Index of the first log line holding text; npos when missing.
    size_t logPosition(const std::string& text) {
        FlushLog();
        return readFile(AppPath() + "log.txt").find(text);
    }
    // Expects each line in the log after the one before, starting after `from`;
    // the position of the last.
    size_t expectInOrder(size_t from, const std::vector<std::string>& lines) {
        for (const std::string& line : lines) {
            size_t at = logPosition(line);
            EXPECT_NE(at, std::string::npos) << line;
            EXPECT_GT(at, from) << line;
            from = at;
        }
        return from;
    }
};

TEST_F(StartupTest, StartsInTheProgramsOrderAndShutsDownInIts) {
    start();
    EXPECT_EQ(view.wizardRuns, 1) << "no Corva.ini: a first run";
    EXPECT_TRUE(main->firstRun());
    for (const char* folder : {"AutoReply", "Sigs", "DB/Attachments"})
        EXPECT_TRUE(FolderExists(DataFolder + folder)) << folder;
    EXPECT_TRUE(FolderExists(MessageFolder + "SpamBayes/BayesOld"));
    expectInOrder(0, {"startup.", "Loading settings", "Setting up list", "Loading getmail",
                      "Loading filters form", "Loading server filters", "Loading local filters",
                      "Applying settings", "Loading spam count", "Displaying tray icon",
                      "Update Check Enabled", "Corva startup complete, ready for some action."});
    EXPECT_EQ(view.panels[3], "Auto-update enabled");
    EXPECT_EQ(view.addedTip, "Corva by Tarnwick Software");
    EXPECT_EQ(view.trayTip, "Corva - 0 message(s)");

    sset("TITLE2", "Work");
    sset("REPLYADDRESS2", "me@work.test");
    ASSERT_TRUE(main->exitprog());
    expectInOrder(logPosition("ready for some action."),
                  {"Beginning shutdown", "Removing Tray Icon", "Saving settings",
                   "Hiding main form", "Unloading forms", "Writing log",
                   "Finished Shutdown of Corva", "Unloading main form"});
    EXPECT_TRUE(FileExists(SettingsFilePath()));

    restart();
    EXPECT_EQ(view.wizardRuns, 0);
    EXPECT_EQ(view.addedTip, "Corva - Work") << "the first account with a reply address";
    EXPECT_EQ(view.trayTip, "Corva - Work - 0 message(s)");
    main->StartProgram();
    EXPECT_EQ(view.wizardRuns, 0) << "a second start does nothing";
}

TEST_F(StartupTest, ShutdownUnloadsTheWindowsFromTheLastAndStopsAtOneThatRefuses) {
    for (bool refuse : {false, true}) {
        SCOPED_TRACE(refuse);
        restart();
        view.forms = {"Corva", "Log file", "Settings", "Message source"};
        if (refuse) view.refusingForm = "Settings";
        ASSERT_TRUE(main->exitprog());
        const std::vector<std::string> tried =
            refuse ? std::vector<std::string>{"Message source", "Settings"}
                   : std::vector<std::string>{"Message source", "Settings", "Log file"};
        EXPECT_EQ(view.unloaded, tried);
        std::vector<std::string> unloading;
        for (const std::string& form : tried) unloading.push_back("Unloading " + form);
        size_t last = expectInOrder(logPosition("Unloading forms"), unloading);
        size_t error = logPosition(
            "Error 365 - unable to unload within this context - when exiting form. Resuming.");
        EXPECT_EQ(error != std::string::npos, refuse);
        if (refuse) {
            EXPECT_GT(error, last);
        }
        EXPECT_EQ(logPosition("Unloading Corva"), std::string::npos) << "the first stays";
        EXPECT_GT(logPosition("Writing log"), refuse ? error : last);
    }
}

TEST_F(StartupTest, ClosingTheWindowHidesItBesideATrayAndQuitsWithoutOne) {
    start();
    EXPECT_TRUE(main->QueryUnload(true)) << "the close is cancelled: the window hides";
    EXPECT_EQ(view.hides, 1);
    EXPECT_FALSE(main->shutDown());
    view.trayAvailable = false;
    EXPECT_FALSE(main->QueryUnload(true));
    EXPECT_TRUE(main->shutDown());
}

TEST_F(StartupTest, ConfirmedSettingsReloadTheRulesAndScanOnlyWhenScanOnStartIsOne) {
    start();
    view.settingsConfirmed = true;
    writeFile(main->ServerFilters().BlockedPath(), "junk@x.test\r\n");
    sset("ScanOnStart", true);
    main->showsettings();
    EXPECT_TRUE(main->ServerFilters().Blocked("junk@x.test")) << "the lists were read again";
    EXPECT_EQ(main->CyclesFinished(), 0) << "a truth value is not 1";

    sset("ScanOnStart", 1);
    main->showsettings();
    ASSERT_TRUE(waitForCycle(5000));
    EXPECT_EQ(main->CyclesFinished(), 1);
}

TEST(AccountWizard, ProposesTheIncomingServersNameAsTheTitle) {
    for (const auto& [server, title] :
         std::vector<std::pair<std::string, std::string>>{{"pop.example.com", "pop.example.com"},
                                                          {" mail.x.test:995 ", "mail.x.test"},
                                                          {"", ""}}) {
        WizardFields fields;
        fields.InboundServer = server;
        EXPECT_EQ(frmAccountWizard::ProposedTitle(fields), title) << server;
    }
}

TEST_F(StartupTest, TickedStartMinimisedHidesTheWindowAfterAReload) {
    start();
    sset("STARTMIN", 1); // the dialog stores a number, which the file keeps as " 1 "
    restart();
    EXPECT_EQ(view.hides, 1);
    EXPECT_NE(logPosition("Hiding main form"), std::string::npos);

    for (Variant other : {Variant(true), Variant(-1), Variant(0)}) {
        sset("STARTMIN", other);
        restart();
        EXPECT_EQ(view.hides, 0) << other.toText();
    }
}

TEST_F(StartupTest, ScanAndRetrieveOnStartArmTheTimerForAQuickFirstCycle) {
    start();
    sset("RetrieveOnStart", true);
    restart(frmMain::AutoScan::Settings);
    EXPECT_TRUE(main->NextCycleRetrieves());
    EXPECT_TRUE(main->autoScanTimerEnabled());
    EXPECT_EQ(main->ScanDelay(), 1);

    sset("ScanOnStart", true);
    sset("DELAY", 45);
    sset("REPLYADDRESS0", "me@example.test");
    restart(frmMain::AutoScan::Settings);
    EXPECT_FALSE(main->NextCycleRetrieves()) << "with both set only the scan happens";
    EXPECT_EQ(main->ScanDelay(), 1);
    main->TimerAutoScan_Timer();
    EXPECT_EQ(main->CyclesFinished(), 0);
    main->TimerAutoScan_Timer(); // the second tick scans
    ASSERT_TRUE(waitForCycle(5000));
    EXPECT_EQ(main->CyclesFinished(), 1);
    EXPECT_EQ(main->ScanDelay(), 45) << "the normal delay is taken up after the first cycle";
    EXPECT_EQ(view.panels[4], "Next scan: 45");

    // A command that runs one cycle never arms the timer.
    restart(frmMain::AutoScan::Off);
    EXPECT_FALSE(main->autoScanTimerEnabled());
    EXPECT_EQ(main->ScanDelay(), 0);
}

TEST_F(StartupTest, DelayOfZeroRunsTheTimerButNeverScans) {
    start(frmMain::AutoScan::Settings);
    sset("ScanOnStart", true);
    sset("DELAY", 0);
    main->startmailtimer();
    EXPECT_TRUE(main->autoScanTimerEnabled());
    EXPECT_EQ(view.panels[4], "Auto scan Disabled");
    for (int i = 0; i < 5; ++i) main->TimerAutoScan_Timer();
    EXPECT_EQ(main->CyclesFinished(), 0);
    EXPECT_FALSE(main->CycleRunning());

    sset("DELAY", 2);
    main->startmailtimer();
    main->TimerAutoScan_Timer();
    EXPECT_EQ(view.panels[4], "Next scan: 2");
    main->TimerAutoScan_Timer();
    EXPECT_EQ(view.panels[4], "Next scan: 1");
    main->TimerAutoScan_Timer();
    EXPECT_EQ(view.panels[4], "Timer stopped") << "the third tick scans";
    ASSERT_TRUE(waitForCycle(5000));
    EXPECT_EQ(main->CyclesFinished(), 1);

    // Without ScanOnStart there are no automatic scans at all.
    sset("ScanOnStart", false);
    main->startmailtimer();
    EXPECT_FALSE(main->autoScanTimerEnabled());
}

TEST_F(StartupTest, OutboxMailAsksBeforeQuittingAndNoKeepsTheProgramRunning) {
    main = std::make_unique<frmMain>(&view);
    frmMain::StartOptions windowed; // as the window program starts
    windowed.autoScan = frmMain::AutoScan::Off;
    main->StartProgram(windowed);

    writeFile(MessageFolder + "Outbox/notes.txt", "not mail");
    ASSERT_TRUE(main->exitprog());
    EXPECT_TRUE(platform_.prompts_.messages.empty()) << "only .eml files count";

    main = std::make_unique<frmMain>(&view);
    main->StartProgram(windowed);
    writeFile(MessageFolder + "Outbox/01 HELLO.EML", "Subject: hello\r\n\r\nhi\r\n");
    platform_.prompts_.answer = platform::Answer::No;
    EXPECT_FALSE(main->exitprog());
    EXPECT_EQ(platform_.prompts_.messages,
              (std::vector<std::string>{
                  "You still have mail in your outbox. Are you sure you want to quit?"}));
    EXPECT_FALSE(main->shutDown());
    EXPECT_EQ(logPosition("Saving window size"), std::string::npos);
    sset("DELAY", 5);
    main->mnuScan_Click(); // still running
    ASSERT_TRUE(waitForCycle(5000));
    EXPECT_EQ(main->CyclesFinished(), 1);

    platform_.prompts_.answer = platform::Answer::Yes;
    EXPECT_TRUE(main->exitprog());
    EXPECT_TRUE(main->shutDown());
    EXPECT_NE(logPosition("Saving window size"), std::string::npos);
}

TEST(ListRules, VerdictWordFollowsTheFlagsInOrder) {
    clsMessage m;
    EXPECT_EQ(frmMain::verdictWord(m), "PASS");
    m.Suspicious = true;
    EXPECT_EQ(frmMain::verdictWord(m), "SPAM?");
    m.Ignored = true;
    EXPECT_EQ(frmMain::verdictWord(m), "IGNORE");
    m.Deleted = true;
    EXPECT_EQ(frmMain::verdictWord(m), "FAIL") << "deleted by a rule, no list involved";
    m.BlockedRecip = true;
    EXPECT_EQ(frmMain::verdictWord(m), "BLOCK");
}

TEST(ListRules, FileNameTakesALongSubjectsFirst35Characters) {
    std::string fifty(50, 'a');
    EXPECT_EQ(frmMain::fileBaseFromSubject(fifty), fifty);
    std::string fiftyOne = std::string(35, 'b') + std::string(16, 'c');
    EXPECT_EQ(frmMain::fileBaseFromSubject(fiftyOne), std::string(35, 'b'));
    EXPECT_EQ(frmMain::fileBaseFromSubject(""), "");
}

TEST_F(StartupTest, DestinationIsTheRulesFolderUnderTheStoreOrTheInbox) {
    start();
    clsMessage m;
    EXPECT_EQ(frmMain::destinationFolder(m), MessageFolder + "Inbox/");
    m.DestFolder = "\\SpamBayes\\";
    EXPECT_EQ(frmMain::destinationFolder(m), MessageFolder + "SpamBayes/");
    m.DestFolder = "spambayes\\bayesold\\"; // written on a system that ignored case
    EXPECT_EQ(frmMain::destinationFolder(m), MessageFolder + "SpamBayes/BayesOld/");
    m.DestFolder = "Lists\\Daily";
    EXPECT_EQ(frmMain::destinationFolder(m), MessageFolder + "Lists/Daily/");
}

} // namespace
} // namespace corva::test
