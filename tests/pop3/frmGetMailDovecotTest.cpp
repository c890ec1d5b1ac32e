// The session against a real POP3 server, to prove it works with the world:
// big mailboxes, empty ones, refused logins, deletions kept or forgotten.
#include "Pop3Harness.h"

#include "support/DovecotServer.h"
#include "support/TestCertificates.h"

#include <chrono>
#include <cmath>
#include <memory>
#include <thread>

namespace corva::test {
namespace {

// One server for a whole suite; with Secure it requires TLS: STLS on its usual
// port, TLS from the first byte on the other.
template <bool Secure> class DovecotSuite : public Pop3Test {
protected:
    static void SetUpTestSuite() {
        if (!DovecotServer::available()) return;
        if (!Secure)
            dovecot_ = std::make_unique<DovecotServer>();
        else if (const auto& certs = TestCertificates::get(); certs.ok())
            dovecot_ = std::make_unique<DovecotServer>(certs.good.chain, certs.good.key);
    }
    static void TearDownTestSuite() { dovecot_.reset(); }

    void SetUp() override {
        if (!dovecot_) GTEST_SKIP() << "Dovecot is not installed";
        Pop3Test::SetUp();
        pop.setListener(&log);
    }

    // A user of its own for each test, so tests can't see each other's mail.
    std::string newUser(int messages, const std::string& password = "pw") {
        std::string name = "user" + std::to_string(++users_);
        dovecot_->addUser(name, password);
        for (int i = 1; i <= messages; ++i) dovecot_->addMessage(name, numbered(i));
        return name;
    }
    static std::string numbered(int i) {
        return message("sender" + std::to_string(i) + "@example.com",
                       "Message " + std::to_string(i),
                       std::string(static_cast<size_t>(i % 50) * 40, 'z') + "\r\n");
    }

    static inline std::unique_ptr<DovecotServer> dovecot_;
    static inline int users_ = 0;
    EventLog log;
    frmGetMail pop;
};

using DovecotTest = DovecotSuite<false>;
using DovecotTlsTest = DovecotSuite<true>;

TEST_F(DovecotTest, ScanOfAThousandMessagesReportsEveryHeaderWithItsListedSize) {
    const int count = 1000;
    const std::string user = newUser(count);
    account(0, dovecot_->address(), user, "pw", "Big");
    pop.GetHeaders(0, false, false);
    ASSERT_TRUE(waitFinished(log, 60000)) << dovecot_->log();

    ASSERT_EQ(log.headers.size(), static_cast<size_t>(count));
    for (int i = 1; i <= count; ++i) {
        const Header& h = log.headers[static_cast<size_t>(i - 1)];
        ASSERT_EQ(h.subject, "Message " + std::to_string(i));
        ASSERT_EQ(h.number, i);
        // The size of what was stored, as the server lists it, in kb to 2 places.
        const double bytes = static_cast<double>(numbered(i).size());
        ASSERT_FLOAT_EQ(h.size, static_cast<float>(std::nearbyint(bytes / 1024 * 100) / 100))
            << "message " << i;
    }
    EXPECT_EQ(log.progress.back(), "Big scan complete");
    EXPECT_EQ(log.outline().back(), "Finished");
    EXPECT_EQ(dovecot_->messageCount(user), count); // a scan deletes nothing
}

TEST_F(DovecotTest, EmptyMailboxGivesNoMail) {
    account(0, dovecot_->address(), newUser(0), "pw", "Empty box");
    pop.GetHeaders(0, false, false);
    ASSERT_TRUE(waitFinished(log, 10000));
    EXPECT_EQ(log.outline(), (std::vector<std::string>{"DoingServer: Empty box",
                                                       "NoMail: Empty box", "Finished"}));
    EXPECT_EQ(log.progress.back(), "No mail on Empty box");
}

TEST_F(DovecotTest, WrongPasswordIsReportedAndTheNextAccountGoesOn) {
    account(0, dovecot_->address(), newUser(1, "right"), "wrong", "Refused");
    account(1, dovecot_->address(), newUser(2), "pw", "Next");
    // The next account starts from the Finished event, as the scan cycle does.
    log.onFinished = [&] {
        if (log.finished == 1) pop.GetHeaders(1, false, false);
    };
    pop.GetHeaders(0, false, false);
    ASSERT_TRUE(waitFinished(log, 10000, 2));

    auto events = log.outline();
    ASSERT_GE(events.size(), 3u);
    EXPECT_EQ(events[0], "DoingServer: Refused");
    EXPECT_EQ(events[1].rfind("POPError: -ERR", 0), 0u) << events[1];
    EXPECT_NE(events[1].find("Authentication failed"), std::string::npos) << events[1];
    EXPECT_EQ(events[2], "Finished");
    ASSERT_EQ(log.headers.size(), 2u);
    EXPECT_EQ(log.headers[1].subject, "Message 2");
    EXPECT_EQ(log.progress.back(), "Next scan complete");
}

TEST_F(DovecotTest, RetrievingWithDeleteOnRetrieveEmptiesTheMailbox) {
    sset("DELETEONRETRIEVE", 1);
    const std::string user = newUser(3);
    account(0, dovecot_->address(), user, "pw");
    pop.GetMessages(0, false, false);
    ASSERT_TRUE(waitFinished(log, 10000));
    ASSERT_EQ(log.messages.size(), 3u);
    for (int i = 0; i < 3; ++i)
        EXPECT_EQ(log.messages[static_cast<size_t>(i)].Subject, "Message " + std::to_string(i + 1));
    // The session may finish on the last DELE's reply, before the server has
    // carried out the QUIT that commits the deletions: give it a moment.
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
    while (dovecot_->messageCount(user) != 0 && std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(dovecot_->messageCount(user), 0);
}

TEST_F(DovecotTest, CancelAfterDeletingLosesTheDeletions) {
    struct DeleteEverything : MessageCheck {
        void CheckMessage(clsMessage& msg, bool) override { msg.Deleted = true; }
    } rules;
    pop.setRuleChecks(&rules, nullptr);
    const std::string user = newUser(3);
    account(0, dovecot_->address(), user, "pw");
    log.onDeleted = [&] { pop.CancelMail(); };
    pop.GetHeaders(0, true, false);
    ASSERT_TRUE(waitFinished(log, 10000));
    EXPECT_TRUE(log.saw("DeletedSpam: 1"));
    EXPECT_TRUE(log.saw("Cancelled"));
    // No QUIT went out, so the server forgot the DELE.
    EXPECT_EQ(dovecot_->messageCount(user), 3);

    // Carried through to QUIT, the deletions stick.
    EventLog full;
    pop.setListener(&full);
    pop.GetHeaders(0, true, false);
    ASSERT_TRUE(waitFinished(full, 10000));
    EXPECT_EQ(full.headers.size(), 0u);
    EXPECT_EQ(dovecot_->messageCount(user), 0);
}

// A wrong password is the server's refusal over either kind of TLS.
TEST_F(DovecotTlsTest, RetrieveOverStlsAndImplicitTlsAndRefusedPassword) {
    dovecot_->addUser("tls", "pw");
    const struct {
        int security;
        int port;
        const char* password;
        int stored;
    } cases[] = {{2, dovecot_->port(), "pw", 2},
                 {1, dovecot_->securePort(), "pw", 1},
                 {1, dovecot_->securePort(), "wrong", 0}};
    int round = 0;
    for (const auto& c : cases) {
        SCOPED_TRACE(c.security);
        log = EventLog();
        dovecot_->clearMailbox("tls");
        for (int i = 0; i < c.stored; ++i)
            dovecot_->addMessage("tls", message("a@example.com", "Round " + std::to_string(round)));
        ++round;
        account(0, "localhost:" + std::to_string(c.port), "tls", c.password);
        sset("POPSECURITY0", c.security);
        pop.GetMessages(0, false, false);
        ASSERT_TRUE(waitFinished(log, 10000)) << dovecot_->log();
        EXPECT_EQ(log.messages.size(), static_cast<size_t>(c.stored)) << dovecot_->log();
        EXPECT_EQ(log.saw("POPError: -ERR [AUTH] Authentication failed.\r\n"), c.stored == 0)
            << ::testing::PrintToString(log.outline());
    }
}

} // namespace
} // namespace corva::test
