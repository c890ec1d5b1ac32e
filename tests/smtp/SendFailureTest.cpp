// Scripted servers for what real ones seldom do: the LOGIN exchange byte for
// byte, replies split or joined across reads, refusals, drops and silence. A
// failed message must stay in the Outbox untouched and go out on the next run.
#include "SendTestSupport.h"

#include "localise/modLanguages.h"
#include "smtp/SmtpFailures.h"
#include "support/FakeServer.h"
#include "support/SmtpServer.h"

#include <chrono>
#include <cstdlib>
#include <filesystem>

namespace corva::test {
namespace {

// Each credential goes out followed by an empty line: two CRLFs. Replies may
// be split over reads or joined in one; a server that offers no login is
// fine too (the client waits 5 s for an offer first).
TEST_F(LoginTest, LoginsThatGoThrough) {
    const Steps greeting = {Say("220 fake ESMTP\r\n"), Expect("EHLO example.com\r\n")};
    const Steps quit = {Expect("QUIT\r\n"), Say("221 bye\r\n")};
    const struct {
        const char* name;
        Steps script;
        const char* said;
        int expectMs;
    } cases[] = {
        {"split capabilities",
         greeting +
             Steps{Say("250-fake\r\n"), Pause(150), Say("250-AUTH LOGIN PLAIN\r\n250 OK\r\n"),
                   Expect("AUTH LOGIN\r\n"), Say("334 VXNlcm5hbWU6\r\n"), Expect("YW5u\r\n\r\n"),
                   Say("334 UGFzc3dvcmQ6\r\n"), Expect("c2VjcmV0\r\n\r\n"),
                   Say("235 2.7.0 Authentication successful\r\n")} +
             quit,
         "Host Login OK!", 5000},
        // No password goes out: the next thing said is QUIT.
        {"success behind the challenge in one read",
         greeting +
             Steps{Say("250-fake\r\n250 AUTH LOGIN\r\n"), Expect("AUTH LOGIN\r\n"),
                   Say("334 VXNlcm5hbWU6\r\n"), Expect("YW5u\r\n\r\n"),
                   Say("334 UGFzc3dvcmQ6\r\n235 2.7.0 Accepted\r\n")} +
             quit,
         "Host Login OK!", 5000},
        {"login not offered", greeting + Steps{Say("250-fake\r\n250 SIZE 1000\r\n")} + quit,
         "Login Not Supported by Host, Continuing...", 10000},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.name);
        EXPECT_TRUE(connectAndQuit(c.script, 0, nullptr, c.expectMs));
        EXPECT_EQ(problems, "");
        EXPECT_TRUE(events.said(c.said));
        EXPECT_TRUE(events.failures.empty());
    }
}

// A refused login gets one more try, on a new connection, with the standard
// exchange; its refusal is the failure.
TEST_F(LoginTest, RefusedLoginTriesTheStandardExchangeOnceMore) {
    EXPECT_FALSE(connectAndQuit(
        {Say("220 fake ESMTP\r\n"), Expect("EHLO example.com\r\n"),
         Say("250 AUTH=LOGIN AUTH LOGIN\r\n"), Expect("AUTH LOGIN\r\n"),
         Say("334 V2hvIGFyZSB5b3U/\r\n"), // "Who are you?"
         Expect("\r\n*\r\n"), Say("535 5.7.8 Authentication cancelled\r\n"), NextConnection(),
         Say("220 fake ESMTP\r\n"), Expect("EHLO example.com\r\n"),
         Say("250-fake\r\n250 AUTH LOGIN\r\n"), Expect("AUTH LOGIN\r\n"),
         Say("334 VXNlcm5hbWU6\r\n"), Expect("YW5u\r\n"), Say("334 UGFzc3dvcmQ6\r\n"),
         Expect("c2VjcmV0\r\n"), Say("535 5.7.8 Authentication credentials invalid\r\n"),
         Expect("QUIT\r\n"), Say("221 bye\r\n")}));
    EXPECT_EQ(problems, "");
    EXPECT_EQ(events.failures,
              std::vector<std::string>{"Login refused: 5.7.8 Authentication credentials invalid"});
}

// A server that takes the connection and never speaks is given up after the
// time-out set, and the two seconds QUIT is given, on either road in.
TEST_F(LoginTest, SilentServerIsGivenUpInTime) {
    sset("ConnectTimeout", 1);
    for (int security : {0, 2}) {
        SCOPED_TRACE(security);
        const auto begun = std::chrono::steady_clock::now();
        EXPECT_FALSE(connectAndQuit({Silence()}, security));
        EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::milliseconds(4500));
        EXPECT_EQ(events.failures,
                  std::vector<std::string>{
                      "Timeout occurred: The SMTP Host did not respond to the request"});
    }
}

// The dialogue up to MAIL FROM for a spooled message of account 0.
Steps greeting(const Steps& rest) {
    return Steps{Say("220 fake ESMTP\r\n"), Expect("HELO example.com\r\n"), Say("250 fake\r\n"),
                 Expect("MAIL FROM: <ann@example.com>\r\n")} +
           rest;
}

class FailedUploadTest : public SendFixture {
protected:
    // Spools one message, uploads it to the script, checks that nothing moved,
    // then uploads it to a real server.
    void failThenRecover(Steps script, const std::string& explanation) {
        FakeServer fake(std::move(script));
        setAccount(0, fake.port(), "ann@example.com");
        frmSendMailWrapper wrapper;
        UploadEvents events;
        wrapper.setListener(&events);
        std::string path = wrapper.SpoolMessage(
            composed(0, "bob@example.net", "Keep me", "Body\r\n.dot", "carl@example.net"));
        ASSERT_FALSE(path.empty());
        const std::string before = readFile(path);

        ASSERT_TRUE(upload(wrapper));
        fake.stop();
        EXPECT_EQ(fake.problems(), "");
        EXPECT_TRUE(events.said(explanation)) << "progress was: " << Join(events.progress, " | ");
        EXPECT_EQ(events.finished, 1);
        EXPECT_EQ(readFile(path), before);
        EXPECT_EQ(filesIn(outbox()), std::vector<std::string>{"00_outbound_0.eml"});
        EXPECT_TRUE(filesIn(sentItems()).empty());

        SmtpServer real;
        ASSERT_TRUE(real.running());
        setAccount(0, real.port(), "ann@example.com");
        ASSERT_TRUE(upload(wrapper));
        EXPECT_EQ(real.messageCount(), 1);
        EXPECT_TRUE(filesIn(outbox()).empty());
        EXPECT_EQ(filesIn(sentItems()).size(), 1u);
    }
};

TEST_F(FailedUploadTest, RefusalsAndSilenceKeepTheMessage) {
    const Steps bobOk = {Say("250 ok\r\n"), Expect("RCPT TO: <bob@example.net>\r\n"),
                         Say("250 ok\r\n")};
    const struct {
        Steps script;
        const char* explanation;
        int timeout = 2;
    } cases[] = {
        // The second recipient is never offered: the refusal ends the transfer.
        {greeting({Say("250 ok\r\n"), Expect("RCPT TO: <bob@example.net>\r\n"),
                   Say("550 5.1.1 <bob@example.net>: Recipient address rejected\r\n"),
                   Expect("QUIT\r\n"), Say("221 bye\r\n")}),
         "5.1.1 <bob@example.net>: Recipient address rejected"},
        {greeting(bobOk + Steps{Expect("RCPT TO: <carl@example.net>\r\n"), Say("250 ok\r\n"),
                                Expect("DATA\r\n"), Say("554 5.5.1 Error: no valid recipients\r\n"),
                                Expect("QUIT\r\n"), Say("221 bye\r\n")}),
         "5.5.1 Error: no valid recipients"},
        {greeting({Silence()}), "Timeout occurred: The SMTP Host did not respond to the request",
         1},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.explanation);
        sset("MailTimeout", c.timeout);
        std::filesystem::remove_all(sentItems()); // the last round's message
        MkMissingDir(sentItems());
        failThenRecover(c.script, c.explanation);
    }
}

// A close from the server ends any wait at once: nothing more can come.
TEST_F(FailedUploadTest, ServerClosingEndsTheWaitAtOnce) {
    const Steps upToTheDot =
        greeting({Say("250 ok\r\n"), Expect("RCPT TO: <bob@example.net>\r\n"), Say("250 ok\r\n"),
                  Expect("RCPT TO: <carl@example.net>\r\n"), Say("250 ok\r\n"), Expect("DATA\r\n"),
                  Say("354 go ahead\r\n"), SkipPast("\r\n.\r\n")});
    for (auto script : {greeting({Drop()}), upToTheDot}) {
        std::filesystem::remove_all(sentItems()); // the last round's message
        MkMissingDir(sentItems());
        const auto begun = std::chrono::steady_clock::now();
        script.push_back(Drop());
        failThenRecover(script, "The SMTP Host closed the connection");
        EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(8));
    }
}

TEST_F(FailedUploadTest, AcceptedMessageStaysSentWhenTheServerHangsUp) {
    FakeServer fake(greeting({Say("250 ok\r\n"), Expect("RCPT TO: <bob@example.net>\r\n"),
                              Say("250 ok\r\n"), Expect("DATA\r\n"), Say("354 go ahead\r\n"),
                              SkipPast("\r\n.\r\n"), Say("250 queued\r\n"), Drop()}));
    setAccount(0, fake.port(), "ann@example.com");
    frmSendMailWrapper wrapper;
    UploadEvents events;
    wrapper.setListener(&events);
    ASSERT_FALSE(wrapper.SpoolMessage(composed(0, "bob@example.net", "x", "y")).empty());
    const auto begun = std::chrono::steady_clock::now();
    ASSERT_TRUE(upload(wrapper));
    EXPECT_LT(std::chrono::steady_clock::now() - begun, std::chrono::seconds(5));
    EXPECT_EQ(fake.problems(), "");
    EXPECT_TRUE(events.failed.empty()) << Join(events.failed, " | ");
    EXPECT_TRUE(filesIn(outbox()).empty());
    EXPECT_EQ(filesIn(sentItems()).size(), 1u);
}

TEST_F(FailedUploadTest, NoServerListening) {
    int port;
    {
        FakeServer gone({});
        port = gone.port();
    }
    setAccount(0, port, "ann@example.com");
    frmSendMailWrapper wrapper;
    UploadEvents events;
    wrapper.setListener(&events);
    ASSERT_FALSE(wrapper.SpoolMessage(composed(0, "bob@example.net", "x", "y")).empty());
    ASSERT_TRUE(upload(wrapper));
    EXPECT_TRUE(events.said("Unable to connect."));
    EXPECT_EQ(events.noMail, 1);
    EXPECT_EQ(filesIn(outbox()).size(), 1u);
}

// The engine's failures reach the window in the chosen language; the
// server's and the certificate's own words stay as they came.
TEST_F(FailedUploadTest, FailuresShowInTheChosenLanguage) {
    const std::vector<std::string> folders = LanguageFolders();
    SetLanguageFolders({std::string(std::getenv("CORVA_SOURCE_DIR")) + "/languages"});
    LoadAllLanguages();
    loadlanguage(LanguageIndex("Deutsch"));
    ASSERT_EQ(CurrentLanguage(), "Deutsch");

    FakeServer fake(greeting({Drop()}));
    setAccount(0, fake.port(), "ann@example.com");
    frmSendMailWrapper wrapper;
    UploadEvents events;
    wrapper.setListener(&events);
    ASSERT_FALSE(wrapper.SpoolMessage(composed(0, "bob@example.net", "x", "y")).empty());
    ASSERT_TRUE(upload(wrapper));
    EXPECT_TRUE(events.said("Der SMTP-Server hat die Verbindung geschlossen"))
        << Join(events.progress, " | ");

    const struct {
        std::string english, shown;
    } cases[] = {
        {"Login refused: 5.7.8 Error: authentication failed",
         "Anmeldung abgelehnt: 5.7.8 Error: authentication failed"},
        {"Too many recipients\r\nSocket error 10061\r\n550 No such user",
         "Zu viele Empfänger\r\nSocket-Fehler 10061\r\n550 No such user"},
        {"The certificate of h:465 was not accepted.\nSubject: CN=h\nValid from 1 Jan to 2 Feb\n"
         "To trust it: corva trust --account 3",
         "Das Zertifikat von h:465 wurde nicht angenommen.\nInhaber: CN=h\nGültig von 1 Jan bis 2 "
         "Feb\nUm ihm zu vertrauen: corva trust --account 3"},
        {"Login refused:", "Login refused:"},
        {"", ""},
    };
    for (const auto& c : cases) EXPECT_EQ(ShownFailure(c.english), c.shown);
    reverttoenglish();
    SetLanguageFolders(folders);
}

} // namespace
} // namespace corva::test
