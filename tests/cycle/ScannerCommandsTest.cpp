// The scanner's commands as the logic decides them, with the recording view
// standing in for the window: which message a line means, refusals while a
// transfer runs, and the bounce of several lines.
#include "cycle/CycleFixture.h"

#include "core/FileSubs.h"
#include "core/Globals.h"
#include "cycle/modScannerCommands.h"
#include "message/clsMessage.h"
#include "support/FakeServer.h"

namespace corva::test {
namespace {

class ScannerCommandsTest : public CycleFixture {
protected:
    // Reports a header as the session does, numbered within account 0.
    void header(long number, const std::string& from, const std::string& subject,
                bool deleted = false) {
        clsMessage msg;
        msg.CreateFromText(
            "From: " + from + "\r\nTo: ann@a.test\r\nSubject: " + subject + "\r\n\r\n", true);
        msg.MessageNumThisAcc = number;
        msg.Deleted = deleted;
        main->sessionEvents().HeaderReceived(msg);
    }
    // A cycle that deletes blocked mail, over no accounts: it ends at once.
    void deletingCycle() {
        CycleRequest request;
        request.deleteBlocked = true;
        main->checkmail(request);
        ASSERT_EQ(main->State(), CycleState::Idle);
        platform_.prompts_.messages.clear();
    }
};

TEST_F(ScannerCommandsTest, ALineMeansItsOwnMessageWhenDeletedOnesWereNeverKept) {
    start();
    deletingCycle();
    header(1, "a@x.test", "first");
    header(2, "junk@x.test", "deleted", true);
    header(3, "c@x.test", "third");

    auto lines = view.messages();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[1].MsgNum, "3") << "the number counts what the server reported";
    auto third = MessageOfLine(*main, lines[1]);
    ASSERT_TRUE(third);
    EXPECT_EQ(third->Subject, "third");
    EXPECT_EQ(MessageOfLine(*main, lines[0])->Subject, "first");

    ListLine notice;
    notice.kind = ListLine::Kind::Notice;
    EXPECT_FALSE(MessageOfLine(*main, notice));
}

TEST_F(ScannerCommandsTest, FetchingALinesMessageIsRefusedWhileATransferRuns) {
    start();
    deletingCycle();
    header(4, "a@x.test", "wanted");
    const ListLine line = view.messages().at(0);

    FakeServer silent({Silence()});
    setAccount(0, silent.address(), "ann", "Ann");
    main->mnuScan_Click();
    ASSERT_TRUE(main->Checking());
    EXPECT_FALSE(FetchMessageOfLine(*main, line, true));
    EXPECT_EQ(view.panels[1], "BUSY: Cannot open message");
    EXPECT_EQ(main->Request().specific, 0);
    EXPECT_FALSE(RunScannerCommand(*main, "no such command"));
    // Every command on lines is refused while the cycle checks; only a fetch says so.
    view.panels[1].clear();
    for (const std::string& entry : RightClickEntries()) {
        SCOPED_TRACE(entry);
        EXPECT_EQ(LineCommandRefused(*main, entry), entry != "Dismiss Menu");
    }
    EXPECT_EQ(view.panels[1], "BUSY: Cannot open message");
    EXPECT_FALSE(MarkLines(*main, {line}, true));
    EXPECT_EQ(BounceLines(*main, {line}), 0);
    EXPECT_TRUE(RunScannerCommand(*main, "reinforce"));
    EXPECT_TRUE(platform_.prompts_.messages.empty()) << "no question, no marking";
    ASSERT_TRUE(RunScannerCommand(*main, "delete")) << "a transfer runs: delete stops it";
    EXPECT_FALSE(main->Checking());
    EXPECT_FALSE(main->DeleteMode());

    // The scan cleared the list; the line of the earlier one is no message now.
    EXPECT_FALSE(FetchMessageOfLine(*main, line, true));
    header(4, "a@x.test", "wanted");
    EXPECT_TRUE(FetchMessageOfLine(*main, view.messages().at(0), true));
    EXPECT_EQ(view.panels[1], "Fetching selected message");
    EXPECT_EQ(main->Request().specific, 4);
    EXPECT_EQ(main->LastAccount(), 0);
    EXPECT_FALSE(main->CycleRunning()) << "one message is no cycle";
    main->cancelcheck();

    ASSERT_TRUE(RunScannerCommand(*main, "delete"));
    EXPECT_TRUE(main->Checking());
    EXPECT_TRUE(main->DeleteMode());
    main->cancelcheck();
}

TEST_F(ScannerCommandsTest, MarkingRescansTheListAndReadingOnTheServerCanBeTurnedOff) {
    start();
    deletingCycle();
    header(1, "a@x.test", "first");
    EXPECT_TRUE(MarkLines(*main, view.messages(), true));
    EXPECT_EQ(view.texts(ListLine::Kind::Server), std::vector<std::string>{"Rescan"})
        << "the colours follow what was learnt";
    EXPECT_EQ(view.messages().size(), 1u);

    sset("DisableReadOnServer", true);
    for (const auto& [entry, enabled] :
         std::vector<std::pair<std::string, bool>>{{"Read Message", false},
                                                   {"View this message as source code", false},
                                                   {"Download selected message to inbox", true},
                                                   {"Mark as Junk", true}}) {
        SCOPED_TRACE(entry);
        EXPECT_EQ(LineCommandEnabled(*main, entry), enabled);
        EXPECT_EQ(LineCommandRefused(*main, entry), !enabled);
    }
    EXPECT_NE(view.panels[1], "BUSY: Cannot open message") << "not busy, only turned off";
}

TEST_F(ScannerCommandsTest, BounceSpoolsANoticePerLineAndSaysWhichItCouldNot) {
    start();
    deletingCycle();
    header(1, "", "no sender");
    header(2, "junk@spam.test", "bounce me");

    EXPECT_EQ(BounceLines(*main, view.list), 1);
    ASSERT_EQ(platform_.prompts_.messages.size(), 2u);
    EXPECT_EQ(platform_.prompts_.messages[0],
              "Couldn't bounce message - can't determine the sender's email.");
    EXPECT_EQ(platform_.prompts_.messages[1].rfind("Selected messages have been bounced.", 0), 0u);
    std::vector<std::string> spooled;
    FillFiles(MessageFolder + OutboxFolder, "eml", spooled);
    ASSERT_EQ(spooled.size(), 1u);
    std::string text = readFile(MessageFolder + OutboxFolder + "/" + spooled[0]);
    EXPECT_NE(text.find("junk@spam.test"), std::string::npos);
    EXPECT_NE(text.find("Subject: Failure Notice"), std::string::npos);
}

} // namespace
} // namespace corva::test
