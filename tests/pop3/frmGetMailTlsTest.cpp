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

// To a server that takes them, commands whose turn is certain go out before
// the replies ahead of them; a data event holding several replies still hands
// each to its own message.
TEST_F(TlsScriptTest, CommandsSentAheadKeepEachReplyWithItsMessage) {
    const auto top = [](const std::string& subject) {
        return "+OK\r\n" + message("a@example.com", subject, "") + ".\r\n";
    };
    const auto login = [](int count, bool pipelining = true) {
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
    };
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
         login(3) +
             Steps{Expect("TOP 1 1\r\nTOP 2 1\r\nTOP 3 1\r\n"),
                   Say(top("One") + top("Two") + top("Three"))} +
             bye,
         {"One", "Two", "Three"},
         {"DoingServer: Test", "HeaderReceived", "HeaderReceived", "HeaderReceived", "Finished"}},
        {"a server that does not name PIPELINING gets one command at a time",
         false,
         login(2, false) +
             Steps{Expect("TOP 1 1\r\n"), Say(top("One")), Expect("TOP 2 1\r\n"), Say(top("Two"))} +
             bye,
         {"One", "Two"},
         {"DoingServer: Test", "HeaderReceived", "HeaderReceived", "Finished"}},
        {"a retrieve sends the next TOP with each RETR",
         true,
         login(2) +
             Steps{Expect("TOP 1 1\r\n"), Say(top("One")), Expect("RETR 1\r\nTOP 2 1\r\n"),
                   Say("+OK\r\n" + message("a@example.com", "One", "Body one.\r\n") + ".\r\n" +
                       top("Two")),
                   Expect("RETR 2\r\n"),
                   Say("+OK\r\n" + message("a@example.com", "Two") + ".\r\n")} +
             bye,
         {"One", "Two"},
         {"DoingServer: Test", "MessageReceived", "MessageReceived", "Finished"}},
        {"a refused TOP ends the scan before its neighbour's header is taken for it",
         false,
         login(2) + Steps{Expect("TOP 1 1\r\nTOP 2 1\r\n"), Say("-ERR gone\r\n" + top("Two")),
                          Expect("QUIT\r\n")},
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
            EXPECT_EQ(log.messages[0].MessageBody, "Body one.\r\n");
        }
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
