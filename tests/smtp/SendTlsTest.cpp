// Secure sending: STARTTLS and TLS from the first byte with the standard
// logins, byte for byte against scripts, and against a real server with a CA
// made for the run. A message that fails stays in the Outbox.
#include "SendTestSupport.h"

#include "support/EximServer.h"
#include "support/FakeServer.h"
#include "support/SmtpServer.h"
#include "support/TestCertificates.h"

namespace corva::test {
namespace {

class TlsLoginTest : public LoginTest {
protected:
    void SetUp() override {
        LoginTest::SetUp();
        ASSERT_TRUE(TestCertificates::get().ok());
    }
};

TEST_F(TlsLoginTest, StartTlsOrTlsFromTheFirstByteThenTheStandardLogins) {
    const struct {
        int security;
        Steps script;
    } cases[] = {
        {2,
         {Say("220 fake ESMTP\r\n"), Expect("EHLO example.com\r\n"),
          Say("250-fake\r\n250-STARTTLS\r\n250 SIZE 1000\r\n"), Expect("STARTTLS\r\n"),
          Say("220 2.0.0 Ready to start TLS\r\n"), StartTls(), Expect("EHLO example.com\r\n"),
          Say("250-fake\r\n250-AUTH LOGIN PLAIN\r\n250 SIZE 1000\r\n"),
          Expect("AUTH PLAIN AGFubgBzZWNyZXQ=\r\n"), Say("235 2.7.0 Authentication successful\r\n"),
          Expect("QUIT\r\n"), Say("221 bye\r\n")}},
        // AUTH LOGIN over TLS sends one credential per line.
        {1,
         {StartTls(), Say("220 fake ESMTP\r\n"), Expect("EHLO example.com\r\n"),
          Say("250-fake\r\n250 AUTH=LOGIN\r\n"), Expect("AUTH LOGIN\r\n"),
          Say("334 VXNlcm5hbWU6\r\n"), Expect("YW5u\r\n"), Say("334 UGFzc3dvcmQ6\r\n"),
          Expect("c2VjcmV0\r\n"), Say("235 2.7.0 Accepted\r\n"), Expect("QUIT\r\n"),
          Say("221 bye\r\n")}},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.security);
        EXPECT_TRUE(connectAndQuit(c.script, c.security));
        EXPECT_EQ(problems, "");
        EXPECT_TRUE(events.said("Host Login OK!"));
    }
}

TEST_F(TlsLoginTest, FailuresBeforeTheLoginSayWhy) {
    const Steps greeting = {Say("220 fake ESMTP\r\n"), Expect("EHLO example.com\r\n")};
    const struct {
        const char* name;
        int security;
        Steps rest;
        const char* failure;
    } cases[] = {
        {"STARTTLS refused",
         2,
         {Say("250-fake\r\n250 STARTTLS\r\n"), Expect("STARTTLS\r\n"),
          Say("454 4.7.0 TLS not available\r\n"), Expect("QUIT\r\n"), Say("221 bye\r\n")},
         "The server refuses STARTTLS: 4.7.0 TLS not available"},
        {"STARTTLS not offered",
         2,
         {Say("250-fake\r\n250 SIZE 1000\r\n"), Expect("QUIT\r\n"), Say("221 bye\r\n")},
         "The server does not offer STARTTLS"},
        {"login refused",
         1,
         {Say("250 AUTH PLAIN\r\n"), Expect("AUTH PLAIN AGFubgBzZWNyZXQ=\r\n"),
          Say("535 5.7.8 Bad credentials\r\n"), Expect("QUIT\r\n"), Say("221 bye\r\n")},
         "Login refused: 5.7.8 Bad credentials"},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_FALSE(connectAndQuit(
            (c.security == 1 ? Steps{StartTls()} : Steps{}) + greeting + c.rest, c.security));
        EXPECT_EQ(problems, "");
        EXPECT_EQ(events.failures, std::vector<std::string>{c.failure});
    }
}

TEST_F(TlsLoginTest, UnknownCertificateFailsWithItsFingerprint) {
    EXPECT_FALSE(connectAndQuit({TlsRefused()}, 1, &TestCertificates::get().selfSigned));
    EXPECT_EQ(problems, "");
    ASSERT_EQ(events.failures.size(), 1u);
    EXPECT_NE(events.failures[0].find("was not accepted"), std::string::npos) << events.failures[0];
    EXPECT_NE(events.failures[0].find("SHA-256 fingerprint: "), std::string::npos);
    EXPECT_NE(events.failures[0].find("corva trust --account 0"), std::string::npos);
}

// A real server, TLS either way and a real login: the message arrives whole.
TEST_F(SendFixture, RealServerOverTlsEitherWay) {
    const auto& certs = TestCertificates::get();
    ASSERT_TRUE(certs.ok());
    for (const char* mode : {"implicit", "starttls"}) {
        SCOPED_TRACE(mode);
        Settings().DeleteAllSettings();
        sset("MailTimeout", 5);
        SmtpServer server("ann", "secret", mode, certs.good.chain, certs.good.key);
        ASSERT_TRUE(server.running());
        setAccount(0, server.port(), "ann@example.com");
        sset("SMTPSECURITY0", std::string(mode) == "implicit" ? 1 : 2);
        setLogin(0, "ann", "secret");
        frmSendMailWrapper wrapper;
        UploadEvents events;
        wrapper.setListener(&events);
        ASSERT_FALSE(wrapper.SpoolMessage(composed(0, "bob@example.net", "Secure", "x")).empty());
        ASSERT_TRUE(upload(wrapper));
        EXPECT_EQ(server.authLog(), "PLAIN 'ann' 'secret' ok\n");
        ASSERT_EQ(server.messageCount(), 1);
        EXPECT_NE(server.message(1).find("Subject: Secure"), std::string::npos);
        EXPECT_TRUE(filesIn(outbox()).empty());
        for (const auto& f : filesIn(sentItems())) EraseFile(sentItems() + f);
    }
}

// Exim wants STARTTLS before anything and a login after it; a wrong
// password leaves the message in the Outbox with the server's reason.
TEST_F(SendFixture, EximTakesMailAfterStartTlsAndLogin) {
    if (!EximServer::available()) GTEST_SKIP() << "exim4 is not installed";
    const auto& certs = TestCertificates::get();
    ASSERT_TRUE(certs.ok());
    EximServer server("ann", "secret", certs.good.chain, certs.good.key);
    ASSERT_TRUE(server.running());
    for (const char* password : {"wrong", "secret"}) {
        SCOPED_TRACE(password);
        const bool right = std::string(password) == "secret";
        setAccount(0, server.port(), "ann@example.com");
        sset("SMTPSECURITY0", 2);
        setLogin(0, "ann", password);
        frmSendMailWrapper wrapper;
        UploadEvents events;
        wrapper.setListener(&events);
        ASSERT_FALSE(wrapper.SpoolMessage(composed(0, "bob@example.net", "Exim", "x")).empty());
        ASSERT_TRUE(upload(wrapper));
        EXPECT_EQ(server.messageCount(), right ? 1 : 0) << server.log();
        EXPECT_EQ(filesIn(outbox()).size(), right ? 0u : 1u);
        if (!right) {
            EXPECT_TRUE(events.said("Login refused: Incorrect authentication data"))
                << Join(events.progress, " | ");
            for (const auto& f : filesIn(outbox())) EraseFile(outbox() + f);
        }
    }
    EXPECT_NE(server.log().find("A=plain:ann"), std::string::npos) << server.log();
    EXPECT_NE(server.message(1).find("Subject: Exim"), std::string::npos);
}

// What Python's email package reads from a delivered message: subject, then body.
std::string readByPython(const std::string& message) {
    TempDir folder;
    const std::string path = folder.path() + "/m.eml";
    WriteFileExactly(path, message);
    const std::string command =
        "python3 -c \"import email, email.policy, sys; m = email.message_from_binary_file("
        "open(sys.argv[1], 'rb'), policy=email.policy.default); sys.stdout.buffer.write("
        "(m['subject'] + '|' + m.get_content().strip()).encode('utf-8'))\" " +
        path;
    std::string out;
    if (FILE* pipe = ::popen(command.c_str(), "r")) {
        char buffer[512];
        for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) out.append(buffer, n);
        ::pclose(pipe);
    }
    return out;
}

// UTF-8 goes out labelled so, with encoded words in the subject and the name;
// Latin-1 keeps the bytes it always had. A secure account adds a Message-ID.
TEST_F(SendFixture, TextIsLabelledByWhatItHolds) {
    const std::string utf8 = "Gr\xC3\xBC\xC3\x9F"
                             "e";
    const std::string latin1 = "Gr\xFC\xDF"
                               "e";
    const struct {
        const char* name;
        std::string text;
        int security;
        const char* charset;
        const char* subjectLine;
    } cases[] = {
        {"utf-8", utf8, 1, "charset=\"utf-8\"", "Subject: =?UTF-8?B?R3LDvMOfZQ==?=\r\n"},
        {"latin-1", latin1, 0, "charset=\"iso-8859-1\"",
         "Subject: Gr\xFC\xDF"
         "e\r\n"},
    };
    const auto& certs = TestCertificates::get();
    ASSERT_TRUE(certs.ok());
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        SmtpServer server("", "", "implicit", certs.good.chain, certs.good.key);
        SmtpServer plain;
        ASSERT_TRUE(server.running() && plain.running());
        setAccount(0, c.security ? server.port() : plain.port(), "ann@example.com", c.text);
        sset("SMTPSECURITY0", c.security);
        frmSendMailWrapper wrapper;
        ASSERT_FALSE(
            wrapper.SpoolMessage(composed(0, "bob@example.net", c.text, c.text + "\r\n")).empty());
        ASSERT_TRUE(upload(wrapper));
        const SmtpServer& got = c.security ? server : plain;
        ASSERT_EQ(got.messageCount(), 1);
        const std::string message = got.message(1);
        EXPECT_NE(message.find(c.charset), std::string::npos) << visible(message);
        EXPECT_NE(message.find(c.subjectLine), std::string::npos) << visible(message);
        EXPECT_EQ(message.find("Message-ID: <") != std::string::npos, c.security != 0);
        if (c.security) {
            EXPECT_NE(message.find("From: =?UTF-8?B?R3LDvMOfZQ==?= <ann@example.com>"),
                      std::string::npos);
            EXPECT_EQ(readByPython(message), utf8 + "|" + utf8);
        }
        for (const auto& f : filesIn(sentItems())) EraseFile(sentItems() + f);
    }
}

} // namespace
} // namespace corva::test
