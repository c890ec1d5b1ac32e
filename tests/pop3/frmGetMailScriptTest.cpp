// The session against scripted servers: the corners of the dialogue that a
// real server does not show on demand (odd replies, split reads, silence).
#include "Pop3Harness.h"

#include "core/mSHAREDLogging.h"

#include <chrono>
#include <filesystem>
#include <regex>
#include <sys/stat.h>
#include <unistd.h>

namespace corva::test {
namespace {

using ScriptTest = ScriptedServerTest;

// Scans that end in order, each with QUIT: a greeting that is not OK, an empty
// mailbox, and (without STOPATLAST) the server's refusal of a TOP past the
// count, where "-ERR" inside the last message is text, not the end.
TEST_F(ScriptTest, ScansThatEndInOrder) {
    const struct {
        Steps script;
        Outline outline;
        const char* lastProgress;
    } cases[] = {
        {{Say("-ERR too busy, try later\r\n"), Expect("QUIT\r\n")},
         {"DoingServer: Test", "POPError: -ERR too busy, try later\r\n", "Finished"},
         ""},
        {login() + listing({}) + quit(),
         {"DoingServer: Test", "NoMail: Test", "Finished"},
         "No mail on Test"},
        {login() + listing({100, 100}) + top(1, message("a@x", "One")) +
             top(2, message("b@x", "-ERR looks like a refusal", "-err\r\n")) +
             Steps{Expect("TOP 3 1\r\n"), Say("-ERR no such message\r\n")} + quit(),
         {"DoingServer: Test", "HeaderReceived", "HeaderReceived", "Finished"},
         "Test scan complete"},
    };
    sset("STOPATLAST0", false);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.outline[1]);
        log = EventLog{};
        pop.setListener(&log);
        start(c.script);
        pop.GetHeaders(0, false, false);
        ASSERT_TRUE(waitFinished(log, 5000));
        EXPECT_EQ(log.outline(), c.outline);
        EXPECT_TRUE(!*c.lastProgress || log.progress.back() == c.lastProgress)
            << log.progress.back();
        EXPECT_EQ(pop.caption(), "Checking mail");
        expectKeptToScript();
    }
}

TEST_F(ScriptTest, ScanGathersASplitListAndTakesSizesFromIt) {
    // Message 1 is listed at 2048 bytes though its header is short; message 2's
    // LIST line has no size, which counts as 1 kb whatever the header's length.
    const std::string longHeader = "X-Filler: " + std::string(3000, 'x') + "\r\n";
    const std::string second = message("bob@example.com", "Second", "") + longHeader;
    start(login() +
          Steps{Expect("LIST\r\n"), Say("+OK 2 messages\r\n1 2048\r\n"), Pause(100),
                Say("2\r\n.\r\n"), Expect("STAT\r\n"), Say("+OK 2 3000\r\n")} +
          top(1, message("ann@example.com", "First")) +
          // The terminator is split between two reads on purpose.
          Steps{Expect("TOP 2 1\r\n"), Say("+OK\r\n" + second + "\r\n."), Pause(100), Say("\r\n")} +
          quit());
    pop.GetHeaders(0, false, false);
    ASSERT_TRUE(waitFinished(log, 5000));

    EXPECT_EQ(log.outline(),
              (Outline{"DoingServer: Test", "HeaderReceived", "HeaderReceived", "Finished"}));
    ASSERT_EQ(log.headers.size(), 2u);
    EXPECT_EQ(log.headers[0].subject, "First");
    EXPECT_EQ(log.headers[0].number, 1);
    EXPECT_FLOAT_EQ(log.headers[0].size, 2.0f);
    EXPECT_EQ(log.headers[1].from, "bob@example.com");
    EXPECT_EQ(log.headers[1].number, 2);
    EXPECT_FLOAT_EQ(log.headers[1].size, 1.0f);
    EXPECT_EQ(
        log.progress,
        (Outline{"Checking mail on Test", "Connecting to Test ...", "Authorising on Test ...",
                 "Listing messages", "Getting Message Count", "2 message(s) on Test   (2.93 kb)",
                 "Passed message 1 of 2", "Passed message 2 of 2", "Test scan complete"}));
    expectKeptToScript();
}

// A session that stalls or loses its server ends by the time-out, after
// Cancelled and Finished, and sends no QUIT.
TEST_F(ScriptTest, StalledOrLostSessionsEndByTheTimeOut) {
    const Steps stat = login() + Steps{Expect("LIST\r\n"), Say("+OK\r\n.\r\n"), Expect("STAT\r\n")};
    const Steps dropped = {Say("+OK ready\r\n"), Expect("USER ann\r\n"), Say("+OK\r\n"),
                           Expect("PASS pw\r\n"), Drop()};
    const struct {
        const char* name;
        int timeout;
        Steps script;
        const char* logged; // a last action that says why, when there is one
        const char* progress;
    } cases[] = {
        {"STAT reply without blanks", 1, stat + Steps{Say("+OK\r\n"), Silence()}, "Timed out", ""},
        {"count beyond sixteen bits", 1, stat + Steps{Say("+OK 40000 123456\r\n"), Silence()},
         "Overflow(6) in DataArrival of module frmGetMail", ""},
        {"dropped after PASS", 1, dropped, "", ""},
        {"silent from the start", 3, {Silence()}, "", "Test - Trying to connect: 0"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        log = EventLog{};
        pop.setListener(&log);
        ResetLastActions();
        sset("MailTimeout", c.timeout);
        start(c.script);
        pop.GetHeaders(0, false, false);
        ASSERT_TRUE(waitFinished(log, 8000));
        EXPECT_EQ(log.outline(), (Outline{"DoingServer: Test", "Cancelled", "Finished",
                                          "TimedOut: " + std::to_string(c.timeout)}));
        EXPECT_EQ(server->received().find("QUIT"), std::string::npos);
        EXPECT_TRUE(c.script.size() > 1 || server->received().empty()) << "said nothing first";
        EXPECT_EQ(server->problems(), "");
        EXPECT_TRUE(!*c.logged || lastActionsHold(c.logged)) << lastActionsText();
        EXPECT_TRUE(!*c.progress || log.said(c.progress));
    }
}

TEST_F(ScriptTest, BlockedHeadersAreDeletedOrSkippedAsAsked) {
    SubjectRules rules;
    pop.setRuleChecks(&rules, nullptr);
    start(login() + listing({100, 100}) + top(1, message("spam@x", "[delete] junk")) +
          Steps{Expect("DELE 1\r\n"), Say("+OK marked\r\n")} + top(2, message("a@x", "fine")) +
          quit());
    pop.GetHeaders(0, true, false);
    ASSERT_TRUE(waitFinished(log, 5000));
    // A deleted message leaves no trace in the list.
    EXPECT_EQ(log.outline(),
              (Outline{"DoingServer: Test", "DeletedSpam: 1", "HeaderReceived", "Finished"}));
    ASSERT_EQ(log.headers.size(), 1u);
    EXPECT_EQ(log.headers[0].subject, "fine");
    EXPECT_TRUE(log.said("Deleting message 1 of 2"));
    expectKeptToScript();

    // Without deleting, the same header is listed with the reason.
    EventLog second;
    pop.setListener(&second);
    start(login() + listing({100}) + top(1, message("spam@x", "[delete] junk")) + quit());
    pop.GetHeaders(0, false, false);
    ASSERT_TRUE(waitFinished(second, 5000));
    EXPECT_EQ(second.outline(), (Outline{"DoingServer: Test", "HeaderReceived", "Finished"}));
    EXPECT_TRUE(second.said("Skipping message 1 of 1 (rule says delete)"));
    expectKeptToScript();
}

// Deletions stand only once the server has answered QUIT; until then the
// session takes back what it counted and says so, before Finished.
TEST_F(ScriptTest, DeletionsCountOnlyWhenTheServerAnswersQuit) {
    SubjectRules rules;
    pop.setRuleChecks(&rules, nullptr);
    sset("MailTimeout", 1);
    const std::string junk = message("spam@x", "[delete] junk");
    const Steps blocked = login() + listing({100}) + top(1, junk) +
                          Steps{Expect("DELE 1\r\n"), Say("+OK marked\r\n"), Expect("QUIT\r\n")};
    // With DELETEONRETRIEVE the DELE goes out unanswered, right before QUIT.
    const Steps retrieved =
        login() + listing({100}) + top(1, message("a@x", "kept")) +
        Steps{Expect("RETR 1\r\n"), Say("+OK\r\n" + message("a@x", "kept") + ".\r\n"),
              Expect("DELE 1\r\n"), Expect("QUIT\r\n")};
    const struct {
        const char* name;
        bool retrieving;
        Steps ending;
        Outline outline;
    } cases[] = {
        {"answered",
         false,
         {Say("+OK bye\r\n")},
         {"DoingServer: Test", "DeletedSpam: 1", "Finished"}},
        {"closed unanswered",
         false,
         {Drop()},
         {"DoingServer: Test", "DeletedSpam: 1", "Cancelled", "DeletionsUnconfirmed: 1", "Finished",
          "TimedOut: 1"}},
        {"refused",
         false,
         {Say("-ERR cannot expunge\r\n")},
         {"DoingServer: Test", "DeletedSpam: 1", "POPError: -ERR cannot expunge\r\n",
          "DeletionsUnconfirmed: 1", "Finished"}},
        {"DELE and QUIT answered apart",
         true,
         {Say("+OK marked\r\n"), Pause(200), Say("+OK bye\r\n")},
         {"DoingServer: Test", "MessageReceived", "Finished"}},
        {"only DELE answered",
         true,
         {Say("+OK marked\r\n"), Drop()},
         {"DoingServer: Test", "MessageReceived", "Cancelled", "DeletionsUnconfirmed: 0",
          "Finished", "TimedOut: 1"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        log = EventLog{};
        pop.setListener(&log);
        sset("DELETEONRETRIEVE", c.retrieving ? 1 : 0);
        start((c.retrieving ? retrieved : blocked) + c.ending);
        if (c.retrieving)
            pop.GetMessages(0, false, false);
        else
            pop.GetHeaders(0, true, false);
        ASSERT_TRUE(waitFinished(log, 5000));
        platform::current().eventLoop().runUntil([&] { return log.saw("TimedOut: 1"); }, 300);
        EXPECT_EQ(log.outline(), c.outline);
        for (const auto& text : log.unconfirmed)
            EXPECT_EQ(text, "Test: the server did not confirm the end of the session; 1 "
                            "deletion(s) may not have happened");
        EXPECT_EQ(server->problems(), "");
    }
}

// A temporary file that can't be flushed or cut must not take the program down
// when the session goes away mid-retrieval.
TEST_F(ScriptTest, SessionGoneMidRetrievalOnAFullDiskEndsQuietly) {
    ASSERT_EQ(::symlink("/dev/full", frmGetMail::tempFilePath(1).c_str()), 0);
    start(login() + listing({5000}) + top(1, message("a@x", "big")) +
          Steps{Expect("RETR 1\r\n"), Say("+OK\r\nFrom: a@x\r\nSubject: big\r\n\r\npart"),
                Silence()});
    auto doomed = std::make_unique<frmGetMail>();
    doomed->setListener(&log);
    doomed->GetMessages(0, false, false);
    ASSERT_TRUE(platform::current().eventLoop().runUntil(
        [&] { return server->received().find("RETR 1") != std::string::npos; }, 5000));
    // Long enough for the first piece of the message to reach the file.
    platform::current().eventLoop().runUntil([] { return false; }, 200);
    doomed.reset();
    EXPECT_FALSE(FileExists(frmGetMail::tempFilePath(1)));
}

// No folder to write the message into ends the session with the reason at
// once, where it used to wait out the time-out.
TEST_F(ScriptTest, UnwritableMessageFolderEndsTheRetrieveWithItsReason) {
    std::filesystem::remove_all(MessageFolder);
    start(login() + listing({100}) + top(1, message("a@x", "s")) +
          Steps{Expect("RETR 1\r\n"), Say("+OK\r\n" + message("a@x", "s") + ".\r\n"),
                Expect("QUIT\r\n")});
    pop.GetMessages(0, false, false);
    ASSERT_TRUE(waitFinished(log, 3000));
    EXPECT_EQ(
        log.outline(),
        (Outline{"DoingServer: Test",
                 "POPError: Test: cannot write the message to " + MessageFolder, "Finished"}));
}

TEST_F(ScriptTest, RetrievingFetchesWhatPassesAndLeavesTheTemporaryFile) {
    SubjectRules serverRules, localRules;
    pop.setRuleChecks(&serverRules, &localRules);
    // Big enough to arrive in pieces, with the terminator split between two of them.
    const std::string body(20000, 'b');
    const std::string planted =
        "From: a@x\r\nSubject: plain\r\nX-Receive-Date: 2001-01-01 00:00:00\r\n\r\n" + body +
        "\r\n";
    start(login() + listing({100, 20100, 100}) + top(1, message("i@x", "[ignore] a")) +
          top(2, message("a@x", "plain")) +
          Steps{Expect("RETR 2\r\n"), Say("+OK\r\n" + planted + "."), Pause(100), Say("\r\n")} +
          top(3, message("l@x", "[folder] b")) +
          Steps{Expect("RETR 3\r\n"), Say("+OK\r\n" + message("l@x", "[folder] b") + ".\r\n")} +
          quit());
    // A longer, read-only leftover of an earlier run is written over and cut to length.
    writeFile(frmGetMail::tempFilePath(1), std::string(30000, 'L'));
    ::chmod(frmGetMail::tempFilePath(1).c_str(), 0444);
    pop.GetMessages(0, false, false);
    ASSERT_TRUE(waitFinished(log, 5000));

    EXPECT_EQ(log.outline(), (Outline{"DoingServer: Test", "HeaderReceived", "MessageReceived",
                                      "MessageReceived", "Finished"}));
    ASSERT_EQ(log.messages.size(), 2u);
    const clsMessage& plain = log.messages[0];
    EXPECT_EQ(plain.MessageBody, body + "\r\n");
    EXPECT_EQ(plain.MessageNumThisAcc, 3); // TOP 1, TOP 2, RETR 2
    EXPECT_FALSE(plain.Read);
    // The sender's date counts for nothing: the session stamps its own.
    EXPECT_TRUE(
        std::regex_match(plain.ReceiveDate, std::regex(R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d)")));
    EXPECT_EQ(plain.RawMessage().find("2001-01-01"), std::string::npos);
    EXPECT_EQ(log.messages[1].DestFolder, "Lists");

    // The local rules run only when the server rules left the message alone.
    EXPECT_EQ(localRules.calls, (Outline{"plain"}));
    EXPECT_EQ(serverRules.calls, (Outline{"[ignore] a +bayes", "plain +bayes", "plain +bayes",
                                          "[folder] b +bayes", "[folder] b +bayes"}));
    EXPECT_TRUE(log.said("Ignoring message 1 of 3"));
    EXPECT_TRUE(log.said("Downloaded Message 2 of 3 to Inbox"));
    EXPECT_TRUE(log.said("Downloaded Message 3 of 3 to Lists"));
    EXPECT_TRUE(std::any_of(log.progress.begin(), log.progress.end(), [](const std::string& p) {
        return p.rfind("Receiving message (", 0) == 0;
    }));
    // The last retrieval's file stays, to be overwritten by the next one.
    EXPECT_EQ(readFile(frmGetMail::tempFilePath(1)),
              "+OK\r\n" + message("l@x", "[folder] b") + ".\r\n");
    expectKeptToScript();
}

// The next TOP may leave before a retrieved message is handed over, but its
// reply is only read once the handler is done, even when the handler lets
// events run. With DELETEONRETRIEVE the DELE must come first, after the handler.
TEST_F(ScriptTest, RetrievedMessageIsHandledBeforeTheNextReplyIsRead) {
    SubjectRules rules;
    pop.setRuleChecks(&rules, nullptr);
    for (bool deleting : {false, true}) {
        SCOPED_TRACE(deleting ? "deleting" : "keeping");
        log = EventLog{};
        pop.setListener(&log);
        sset("DELETEONRETRIEVE", deleting ? 1 : 0);
        log.onMessage = [&](clsMessage&) {
            auto until = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
            platform::current().eventLoop().runUntil(
                [&] { return std::chrono::steady_clock::now() > until; }, 1000);
            log.note("handler done");
        };
        Steps retr1{Expect("RETR 1\r\n"), Say("+OK\r\n" + message("a@x", "one") + ".\r\n")};
        if (deleting) retr1.push_back(Expect("DELE 1\r\n"));
        start(login() + listing({100, 100}) + top(1, message("a@x", "one")) + retr1 +
              Steps{Expect("TOP 2 1\r\n"),
                    Say((deleting ? "+OK deleted\r\n" : "") + std::string("+OK\r\n") +
                        message("i@x", "[ignore] two") + ".\r\n")} +
              quit());
        pop.GetMessages(0, false, false);
        ASSERT_TRUE(waitFinished(log, 5000));
        EXPECT_EQ(log.outline(), (Outline{"DoingServer: Test", "MessageReceived", "handler done",
                                          "HeaderReceived", "Finished"}));
        expectKeptToScript();
    }
}

TEST_F(ScriptTest, CancelDuringRetrievalRemovesTheTemporaryFileAndSendsNoQuit) {
    start(login() + listing({5000}) + top(1, message("a@x", "big")) +
          Steps{Expect("RETR 1\r\n"), Say("+OK\r\nFrom: a@x\r\nSubject: big\r\n\r\npart"),
                Silence()});
    pop.GetMessages(0, false, false);
    const std::string temp = frmGetMail::tempFilePath(1);
    ASSERT_TRUE(platform::current().eventLoop().runUntil([&] { return FileExists(temp); }, 5000));
    pop.CancelMail();
    EXPECT_FALSE(FileExists(temp));
    EXPECT_EQ(log.outline(), (Outline{"DoingServer: Test", "Cancelled", "Finished"}));
    EXPECT_EQ(log.progress.back(), "Mail retrieval cancelled");
    EXPECT_TRUE(server->waitClosed(3000));
    EXPECT_EQ(server->received().find("QUIT"), std::string::npos);
}

TEST_F(ScriptTest, TransferAfterATimeOutStartsClean) {
    sset("MailTimeout", 1);
    start(login() + listing({100, 100}) + top(1, message("a@x", "One")) +
          Steps{Expect("TOP 2 1\r\n"), Say("+OK\r\nFrom: half@x\r\nSubj"), Silence()});
    pop.GetHeaders(0, false, false);
    ASSERT_TRUE(waitFinished(log, 5000));
    ASSERT_TRUE(log.saw("TimedOut: 1"));

    // Half a header from the last server must not shift this one's LIST lines.
    EventLog next;
    pop.setListener(&next);
    start(login() + listing({4096}) + top(1, message("b@x", "Two")) + quit());
    pop.GetHeaders(0, false, false);
    ASSERT_TRUE(waitFinished(next, 5000));
    ASSERT_EQ(next.headers.size(), 1u);
    EXPECT_EQ(next.headers[0].subject, "Two");
    EXPECT_FLOAT_EQ(next.headers[0].size, 4.0f);
    expectKeptToScript();
}

TEST_F(ScriptTest, EmptyPasswordIsAskedForAndRememberedWhenWanted) {
    prompts.passwordReply = {"s3cret", false, true};
    start(login("s3cret") + listing({}) + quit());
    sset("PWD0", "");
    pop.GetHeaders(0, false, false);
    ASSERT_TRUE(waitFinished(log, 5000));
    EXPECT_EQ(prompts.passwordPrompts, (Outline{"Enter password for 'ann' on account 'Test'"}));
    EXPECT_EQ(sget("PWD0").toText(), "s3cret");
    EXPECT_NE(readFile(SettingsFilePath()).find("PWD0,s3cret"), std::string::npos);
    expectKeptToScript();
}

TEST_F(ScriptTest, CancelledPasswordPromptSendsAnEmptyPassword) {
    prompts.passwordReply = {"typed", true, true};
    start(Steps{Say("+OK ready\r\n"), Expect("USER ann\r\n"), Say("+OK\r\n"), Expect("PASS \r\n"),
                Say("-ERR [AUTH] Authentication failed.\r\n"), Expect("QUIT\r\n")});
    sset("PWD0", "");
    pop.GetHeaders(0, false, false);
    ASSERT_TRUE(waitFinished(log, 5000));
    EXPECT_TRUE(log.saw("POPError: -ERR [AUTH] Authentication failed.\r\n"));
    EXPECT_EQ(sget("PWD0").toText(), "");
    expectKeptToScript();
}

TEST_F(ScriptTest, SpecificMessageIsFetchedOnlyWhenItExists) {
    // A first transfer reads the accounts; the specific fetch relies on that.
    start(login() +
          Steps{Expect("LIST\r\n"), Say("+OK\r\n1 10\r\n2 10\r\n.\r\n"), Expect("STAT\r\n"),
                Say("+OK 2 20\r\n")} +
          quit());
    sset("CHECK0", false);
    pop.GetHeaders(0, false, false);
    EXPECT_EQ(log.outline(), (Outline{"NoMailServer"}));
    log.events.clear();
    pop.GetSpecificMessage(0, 3);
    EXPECT_EQ(pop.caption(), "Retrieving message 3");
    ASSERT_TRUE(waitFinished(log, 5000, 2));
    EXPECT_EQ(log.outline(), (Outline{"Finished"}));
    expectKeptToScript();

    start(login() +
          Steps{Expect("LIST\r\n"), Say("+OK\r\n1 10\r\n2 10\r\n.\r\n"), Expect("STAT\r\n"),
                Say("+OK 2 20\r\n"), Expect("RETR 2\r\n"),
                Say("+OK\r\n" + message("a@x", "wanted") + ".\r\n")} +
          quit());
    sset("CHECK0", false);
    pop.GetHeaders(0, false, false); // reads the new port
    log.events.clear();
    pop.GetSpecificMessage(0, 2);
    ASSERT_TRUE(waitFinished(log, 5000, 4));
    EXPECT_EQ(log.outline(), (Outline{"SpecificMessage", "Finished"}));
    ASSERT_EQ(log.messages.size(), 1u);
    EXPECT_EQ(log.messages[0].Subject, "wanted");
    expectKeptToScript();
}

TEST_F(ScriptTest, AccountsWithoutServerOrSwitchedOffAreNotContacted) {
    pop.GetHeaders(3, false, false);
    EXPECT_EQ(log.outline(), (Outline{"NoMailServer"}));
    // No server and active is a contradiction the session settles in the settings.
    EXPECT_FALSE(sget("CHECK3", true).toBool());

    start(login() + listing({}) + quit());
    sset("CHECK0", false);
    log.events.clear();
    pop.GetHeaders(0, false, false);
    EXPECT_EQ(log.outline(), (Outline{"NoMailServer"}));
    log.events.clear();
    pop.GetHeaders(0, false, true); // forced
    ASSERT_TRUE(waitFinished(log, 5000, 3));
    EXPECT_EQ(log.outline(), (Outline{"DoingServer: Test", "NoMail: Test", "Finished"}));
}

TEST_F(ScriptTest, RefusedConnectionShowsTheErrorAndWaitsForTheTimeOut) {
    int closedPort;
    {
        FakeServer gone({});
        closedPort = gone.port();
    }
    sset("MailTimeout", 1);
    account(0, "127.0.0.1:" + std::to_string(closedPort), "ann", "pw");
    pop.GetHeaders(0, false, false);
    ASSERT_TRUE(waitFinished(log, 5000));
    ASSERT_EQ(prompts.messages.size(), 1u);
    EXPECT_EQ(prompts.messages[0].rfind("Error while connecting to server:\r\n[10061] ", 0), 0u);
    EXPECT_EQ(log.outline(),
              (Outline{"DoingServer: Test", "Cancelled", "Finished", "TimedOut: 1"}));
}

TEST(ServerAddress, PortComesFromTheSettingOrIs110) {
    using P = std::pair<std::string, int>;
    EXPECT_EQ(frmGetMail::serverAddress("pop.example.com"), (P{"pop.example.com", 110}));
    EXPECT_EQ(frmGetMail::serverAddress(" 127.0.0.1:2110 "), (P{"127.0.0.1", 2110}));
    EXPECT_EQ(frmGetMail::serverAddress("[::1]:995"), (P{"::1", 995}));
    EXPECT_EQ(frmGetMail::serverAddress("::1"), (P{"::1", 110}));
    // A port that isn't one stays part of the host, and the lookup fails visibly.
    EXPECT_EQ(frmGetMail::serverAddress("host:pop3"), (P{"host:pop3", 110}));
    EXPECT_EQ(frmGetMail::serverAddress("host:70000"), (P{"host:70000", 110}));
}

} // namespace
} // namespace corva::test
