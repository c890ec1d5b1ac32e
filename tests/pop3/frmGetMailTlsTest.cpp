// Secure sessions against scripted servers: STLS and TLS from the first byte
// byte for byte, a refused STLS, and what happens to each certificate that
// fails (unknown, expired, wrong host, changed since trusted).
#include "Pop3Harness.h"

#include "support/TestCertificates.h"

namespace corva::test {
namespace {

class TlsScriptTest : public ScriptedServerTest {
protected:
    void SetUp() override {
        ScriptedServerTest::SetUp();
        ASSERT_TRUE(TestCertificates::get().ok());
    }
    void start(int security, const Steps& steps,
               const ServerCertificate& certificate = TestCertificates::get().good) {
        ScriptedServerTest::start(steps);
        server->useCertificate(certificate.chain, certificate.key);
        sset("POPSECURITY0", security);
    }
    void run() {
        pop.GetHeaders(0, false, false);
        ASSERT_TRUE(waitFinished(log, 8000));
        expectKeptToScript();
    }
};

TEST_F(TlsScriptTest, StlsOrTlsFromTheFirstByteThenTheUsualDialogue) {
    // A secure session asks for the capabilities after the login; a refusal
    // is no failure, it only keeps every command waiting for its reply.
    const Steps emptyBox = listing({}) + quit();
    const Steps capa = {Expect("CAPA\r\n"), Say("+OK\r\nTOP\r\nUSER\r\n.\r\n")};
    const Steps noCapa = {Expect("CAPA\r\n"), Say("-ERR unknown command\r\n")};
    const struct {
        int security;
        Steps script;
        Outline outline;
    } cases[] = {
        {2,
         Steps{Say("+OK ready\r\n"), Expect("STLS\r\n"), Say("+OK Begin TLS\r\n"), StartTls()} +
             credentials() + capa + emptyBox,
         {"DoingServer: Test", "NoMail: Test", "Finished"}},
        {1,
         Steps{StartTls()} + login() + noCapa + emptyBox,
         {"DoingServer: Test", "NoMail: Test", "Finished"}},
        {2,
         {Say("+OK ready\r\n"), Expect("STLS\r\n"), Say("-ERR TLS not available\r\n"),
          Expect("QUIT\r\n")},
         {"DoingServer: Test", "POPError: -ERR TLS not available\r\n", "Finished"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.outline[1]);
        log = EventLog();
        start(c.security, c.script);
        run();
        EXPECT_EQ(log.outline(), c.outline);
    }
}

std::string headerReply(const std::string& subject) {
    return "+OK\r\n" + message("a@example.com", subject, "") + ".\r\n";
}

std::string messageReply(const std::string& subject) {
    return "+OK\r\n" + message("a@example.com", subject, "Body of " + subject + ".\r\n") + ".\r\n";
}

// After TLS from the first byte: the login, CAPA, LIST and STAT of a mailbox of count messages.
Steps pipelinedLogin(int count, bool pipelining = true) {
    std::string list = "+OK\r\n";
    for (int i = 1; i <= count; ++i) list += std::to_string(i) + " 60\r\n";
    return Steps{Expect("USER ann\r\n"),
                 Say("+OK\r\n"),
                 Expect("PASS pw\r\n"),
                 Say("+OK\r\n"),
                 Expect("CAPA\r\n"),
                 Say(pipelining ? "+OK\r\nTOP\r\nPIPELINING\r\n.\r\n" : "+OK\r\nTOP\r\n.\r\n"),
                 Expect("LIST\r\n"),
                 Say(list + ".\r\n"),
                 Expect("STAT\r\n"),
                 Say("+OK " + std::to_string(count) + " 180\r\n")};
}

// To a server that takes them, commands whose turn is certain go out before
// the replies ahead of them; a data event holding several replies still hands
// each to its own message.
TEST_F(TlsScriptTest, CommandsSentAheadKeepEachReplyWithItsMessage) {
    const Steps bye = {Expect("QUIT\r\n"), Say("+OK bye\r\n")};
    const struct {
        const char* name;
        bool retrieve;
        Steps steps;
        Outline subjects; // of the headers, then of the messages stored
        Outline outline;
    } cases[] = {
        {"a scan asks for every header at once",
         false,
         pipelinedLogin(3) +
             Steps{Expect("TOP 1 1\r\nTOP 2 1\r\nTOP 3 1\r\n"),
                   Say(headerReply("One") + headerReply("Two") + headerReply("Three"))} +
             bye,
         {"One", "Two", "Three"},
         {"DoingServer: Test", "HeaderReceived", "HeaderReceived", "HeaderReceived", "Finished"}},
        {"a server that does not name PIPELINING gets one command at a time",
         false,
         pipelinedLogin(2, false) +
             Steps{Expect("TOP 1 1\r\n"), Say(headerReply("One")), Expect("TOP 2 1\r\n"),
                   Say(headerReply("Two"))} +
             bye,
         {"One", "Two"},
         {"DoingServer: Test", "HeaderReceived", "HeaderReceived", "Finished"}},
        {"a retrieve asks for every header at once, and for each message once judged",
         true,
         pipelinedLogin(2) +
             Steps{Expect("TOP 1 1\r\nTOP 2 1\r\n"), Say(headerReply("One") + headerReply("Two")),
                   Expect("RETR 1\r\nRETR 2\r\n"), Say(messageReply("One") + messageReply("Two"))} +
             bye,
         {"One", "Two"},
         {"DoingServer: Test", "MessageReceived", "MessageReceived", "Finished"}},
        {"a refused TOP ends the scan before its neighbour's header is taken for it",
         false,
         pipelinedLogin(2) + Steps{Expect("TOP 1 1\r\nTOP 2 1\r\n"),
                                   Say("-ERR gone\r\n" + headerReply("Two")), Expect("QUIT\r\n")},
         {},
         {"DoingServer: Test", "POPError: -ERR gone\r\n", "Finished"}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        log = EventLog();
        start(1, Steps{StartTls(), Say("+OK ready\r\n")} + c.steps);
        if (c.retrieve)
            pop.GetMessages(0, false, false);
        else
            pop.GetHeaders(0, false, false);
        ASSERT_TRUE(waitFinished(log, 8000));
        expectKeptToScript();
        EXPECT_EQ(log.outline(), c.outline);
        Outline subjects;
        for (const auto& h : log.headers) subjects.push_back(h.subject);
        for (const auto& m : log.messages) subjects.push_back(m.Subject);
        EXPECT_EQ(subjects, c.subjects);
        if (c.retrieve && log.messages.size() == 2) {
            EXPECT_EQ(log.messages[0].MessageBody, "Body of One.\r\n");
        }
    }
}

// A retrieve, or a scan that deletes, keeps a window of TOP commands on their
// way and sends each message's RETR or DELE as its verdict comes; a DELE of a retrieved message
// leaves only once the message is stored, and QUIT only once all is answered.
TEST_F(TlsScriptTest, PipelinedRetrieveMatchesEveryReplyToItsCommand) {
    SubjectRules rules;
    pop.setRuleChecks(&rules, nullptr);
    const auto tops = [](const std::vector<std::string>& subjects) {
        std::string commands, replies;
        for (size_t i = 0; i < subjects.size(); ++i) {
            commands += "TOP " + std::to_string(i + 1) + " 1\r\n";
            replies += headerReply(subjects[i]);
        }
        return Steps{Expect(commands), Say(replies)};
    };
    const Steps bye = {Expect("QUIT\r\n"), Say("+OK bye\r\n")};
    const std::string one = messageReply("One");
    enum { DeleteBlocked = 1, DeleteOnRetrieve = 2, Scan = 4 };
    // The owner fails to store an "Unstored" message, and Stop comes with a "Stop" one.
    const struct {
        const char* name;
        int options;
        Steps steps;
        Outline outline;
        const char* neverSent;
    } cases[] = {
        {"replies split anywhere reach their commands; events keep the order of the messages",
         DeleteBlocked,
         pipelinedLogin(3) + tops({"One", "[ignore] Two", "[delete] Three"}) +
             Steps{Expect("RETR 1\r\nDELE 3\r\n"), Say(one.substr(0, one.size() - 2)), Pause(30),
                   Say(one.substr(one.size() - 2) + "+OK deleted\r\n")} +
             bye,
         {"DoingServer: Test", "MessageReceived", "HeaderReceived", "DeletedSpam: 1", "Finished"},
         "RETR 2"},
        {"a scan that deletes sends each DELE as its verdict comes",
         Scan | DeleteBlocked,
         pipelinedLogin(3) + tops({"[delete] One", "Two", "[delete] Three"}) +
             Steps{Expect("DELE 1\r\nDELE 3\r\n"), Say("+OK\r\n+OK\r\n")} + bye,
         {"DoingServer: Test", "DeletedSpam: 1", "HeaderReceived", "DeletedSpam: 1", "Finished"},
         "RETR"},
        {"a retrieved message is deleted only once stored",
         DeleteOnRetrieve,
         pipelinedLogin(2) + tops({"One", "Unstored"}) +
             Steps{Expect("RETR 1\r\nRETR 2\r\n"), Say(one + messageReply("Unstored")),
                   Expect("DELE 1\r\n"), Say("+OK\r\n")} +
             bye,
         {"DoingServer: Test", "MessageReceived", "MessageReceived", "Finished"},
         "DELE 2"},
        {"a refusal inside the window ends the retrieve",
         0,
         pipelinedLogin(3) + Steps{Expect("TOP 1 1\r\nTOP 2 1\r\nTOP 3 1\r\n"),
                                   Say(headerReply("One")), Expect("RETR 1\r\n"),
                                   Say("-ERR gone\r\n" + headerReply("Three")), Expect("QUIT\r\n")},
         {"DoingServer: Test", "POPError: -ERR gone\r\n", "Finished"},
         "RETR 3"},
        {"a connection dropped mid-message deletes only what was stored",
         DeleteOnRetrieve,
         pipelinedLogin(2) + tops({"One", "Two"}) +
             Steps{Expect("RETR 1\r\nRETR 2\r\n"), Say(one + "+OK\r\nFrom: a@example.com\r\n"),
                   Expect("DELE 1\r\n"), Drop()},
         {"DoingServer: Test", "MessageReceived", "Cancelled", "DeletionsUnconfirmed: 0",
          "Finished", "TimedOut: 2"},
         "DELE 2"},
        {"Stop with commands on their way sends nothing more",
         DeleteBlocked,
         pipelinedLogin(3) + tops({"[delete] One", "Stop", "Three"}) +
             Steps{Expect("DELE 1\r\nRETR 2\r\nRETR 3\r\n"),
                   Say("+OK\r\n" + messageReply("Stop") + messageReply("Three"))},
         {"DoingServer: Test", "DeletedSpam: 1", "MessageReceived", "Cancelled",
          "DeletionsUnconfirmed: 1", "Finished"},
         "QUIT"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        log = EventLog();
        log.onMessage = [&](clsMessage& m) {
            if (m.Subject == "Unstored") m.Ignored = true; // as the owner marks a failed save
            if (m.Subject == "Stop") pop.CancelMail();
        };
        sset("DELETEONRETRIEVE", c.options & DeleteOnRetrieve ? 1 : 0);
        // Only the dropped connection waits out its time-out; a handshake on a busy machine is
        // slow.
        sset("MailTimeout", c.outline.back() == "TimedOut: 2" ? 2 : 30);
        EraseFile(frmGetMail::tempFilePath(1));
        start(1, Steps{StartTls(), Say("+OK ready\r\n")} + c.steps);
        if (c.options & Scan)
            pop.GetHeaders(0, c.options & DeleteBlocked, false);
        else
            pop.GetMessages(0, c.options & DeleteBlocked, false);
        ASSERT_TRUE(waitFinished(log, 8000));
        expectKeptToScript();
        EXPECT_EQ(log.outline(), c.outline);
        EXPECT_EQ(server->received().find(c.neverSent), std::string::npos);
        // Half a message is of no use: its temporary file goes.
        EXPECT_EQ(FileExists(frmGetMail::tempFilePath(1)),
                  log.saw("MessageReceived") && !log.saw("TimedOut: 2"));
    }
}

// Wherever the data events cut the stream, each reply comes out whole, with
// its own command; a refusal ends at its line even where a text was asked for.
TEST(ReplyQueueTest, RepliesComeOutWholeWhereverTheStreamIsCut) {
    using K = ReplyQueue::Kind;
    const std::vector<std::pair<K, std::string>> replies = {
        {K::Top, "+OK\r\nSubject: a\r\n\r\n.\r\n"},
        {K::Dele, "+OK deleted\r\n"},
        {K::Retr, "+OK\r\n.\r\n"},
        {K::Retr, "-ERR no such message\r\n"},
        {K::Top, "+OK\r\nX: .\r\n..\r\n\r\n.\r\n"},
        {K::DeleStored, "+OK\r\n"},
    };
    std::string stream;
    for (const auto& r : replies) stream += r.second;
    for (size_t cut = 0; cut <= stream.size(); ++cut) {
        SCOPED_TRACE(cut);
        ReplyQueue queue;
        for (size_t i = 0; i < replies.size(); ++i)
            queue.sent({replies[i].first, static_cast<int32_t>(i), 0});
        std::vector<std::pair<K, std::string>> got;
        const auto take = [&](const ReplyQueue::Piece& p) {
            if (p.first) got.emplace_back(p.command.kind, "");
            got.back().second += p.bytes;
            EXPECT_EQ(p.refused, got.back().second[0] == '-');
            return true;
        };
        queue.feed(std::string_view(stream).substr(0, cut), take);
        queue.feed(std::string_view(stream).substr(cut), take);
        EXPECT_EQ(got, replies);
        EXPECT_TRUE(queue.empty());
        queue.feed("+OK\r\n", take);
        EXPECT_EQ(queue.strayBytes(), 5);
    }
}

TEST_F(TlsScriptTest, CertificatesThatFailAreRefusedWithTheirFingerprint) {
    const auto& c = TestCertificates::get();
    const struct {
        const ServerCertificate* certificate;
        const char* problem;
    } cases[] = {{&c.selfSigned, "self-signed"},
                 {&c.expired, "expired"},
                 {&c.wrongHost, "host name did not match"}};
    for (const auto& each : cases) {
        SCOPED_TRACE(each.problem);
        log = EventLog();
        prompts.trustQuestions.clear();
        start(1, {TlsRefused()}, *each.certificate);
        run();
        ASSERT_EQ(log.outline().size(), 3u);
        const std::string error = log.outline()[1];
        EXPECT_NE(error.find("was not accepted"), std::string::npos) << error;
        EXPECT_NE(error.find(each.problem), std::string::npos) << error;
        EXPECT_NE(error.find("corva trust --account 0"), std::string::npos) << error;
        ASSERT_EQ(prompts.trustQuestions.size(), 1u);
        const std::string fingerprint =
            prompts.trustQuestions[0].substr(prompts.trustQuestions[0].find(' ') + 1);
        EXPECT_EQ(fingerprint.size(), 95u); // 32 hex pairs and their colons
        EXPECT_NE(error.find(fingerprint), std::string::npos);
        EXPECT_EQ(sget("POPTRUST0", "").toText(), "");
    }
}

TEST_F(TlsScriptTest, TrustedCertificatePassesFromNowOnAndAChangedOneIsRefused) {
    prompts.trustAnswer = true;
    start(1,
          Steps{TlsRefused(), NextConnection(), StartTls()} + login() +
              Steps{Expect("CAPA\r\n"), Say("-ERR\r\n")} + listing({}) + quit(),
          TestCertificates::get().selfSigned);
    run();
    EXPECT_EQ(log.outline(), (Outline{"DoingServer: Test", "NoMail: Test", "Finished"}));
    ASSERT_EQ(prompts.trustQuestions.size(), 1u);
    const std::string trusted = sget("POPTRUST0", "").toText();
    EXPECT_EQ(trusted, prompts.trustQuestions[0]);

    // Another certificate on the same server is not asked about: it is refused.
    log = EventLog();
    server = std::make_unique<FakeServer>(Steps{TlsRefused()});
    server->useCertificate(TestCertificates::get().wrongHost.chain,
                           TestCertificates::get().wrongHost.key);
    sset("SERVER0", server->address());
    sset("POPTRUST0",
         "127.0.0.1:" + std::to_string(server->port()) + trusted.substr(trusted.find(' ')));
    run();
    ASSERT_EQ(log.outline().size(), 3u);
    EXPECT_NE(log.outline()[1].find("has changed since you trusted it"), std::string::npos);
    EXPECT_EQ(prompts.trustQuestions.size(), 1u);
}

} // namespace
} // namespace corva::test
