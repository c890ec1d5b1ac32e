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
    const Steps emptyBox = listing({}) + quit();
    const struct {
        int security;
        Steps script;
        Outline outline;
    } cases[] = {
        {2,
         Steps{Say("+OK ready\r\n"), Expect("STLS\r\n"), Say("+OK Begin TLS\r\n"), StartTls()} +
             credentials() + emptyBox,
         {"DoingServer: Test", "NoMail: Test", "Finished"}},
        {1,
         Steps{StartTls()} + login() + emptyBox,
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
    start(1, Steps{TlsRefused(), NextConnection(), StartTls()} + login() + listing({}) + quit(),
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
