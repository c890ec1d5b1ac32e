// A fetch broken at every step where a network or server can fail it, between
// the program and a real server, then one fetch that goes through: afterwards
// the store and the server together hold every message exactly once.
#include "cycle/CycleFixture.h"

#include "core/FileSubs.h"
#include "core/Globals.h"
#include "support/DovecotServer.h"
#include "support/Pop3Proxy.h"

#include <algorithm>
#include <memory>

namespace corva::test {
namespace {

using Fault = Pop3Proxy::Fault;

struct FaultCase {
    const char* name;
    Fault fault;
    const char* command;
    int nth;
    // DELE commands went out and QUIT was not answered: the fetch says the
    // deletions may not have happened, and counts none.
    bool doubt;
};

// Messages 1, 3 and 4 pass; 2 is blocked. A fetch with deletion sends, in order:
// TOP 1, RETR 1, DELE 1 + TOP 2, DELE 2, TOP 3, RETR 3, DELE 3 + TOP 4, RETR 4, DELE 4 + QUIT.
const FaultCase Cases[] = {
    {"DropAtRetr", Fault::Drop, "RETR", 2, true},
    {"SilenceAtTop", Fault::Silence, "TOP", 3, true},
    {"RefuseTop", Fault::Refuse, "TOP", 3, true},
    {"RefuseRetr", Fault::Refuse, "RETR", 1, false},
    {"RefuseDeleAfterRetrieve", Fault::Refuse, "DELE", 1, false},
    {"RefuseDeleOfBlocked", Fault::Refuse, "DELE", 2, true},
    {"DropAtQuit", Fault::Drop, "QUIT", 1, true},
    {"LoseQuitReply", Fault::LoseReply, "QUIT", 1, true},
};

class Pop3FaultTest : public CycleFixture, public ::testing::WithParamInterface<FaultCase> {
protected:
    static void SetUpTestSuite() {
        if (DovecotServer::available()) server = std::make_unique<DovecotServer>();
        if (server) server->addUser("ann", "secret");
    }
    static void TearDownTestSuite() { server.reset(); }

    void SetUp() override {
        if (!server) GTEST_SKIP() << "Dovecot is not installed";
        CycleFixture::SetUp();
        server->clearMailbox("ann");
        for (const auto& [from, subject] : Mail)
            server->addMessage("ann", mailText(from, "ann@a.test", subject));
        writeFile(dir.file("Blocked.txt"), "spammer@elsewhere.test\r\n");
    }

    std::vector<std::string> storedSubjects() {
        std::vector<std::string> files, subjects;
        FillFiles(MessageFolder + InboxFolder, "eml", files);
        for (const auto& name : files) {
            std::string text = LoadTextFile(MessageFolder + InboxFolder + "/" + name);
            size_t at = text.find("Subject: ");
            subjects.push_back(
                at == std::string::npos ? name : text.substr(at + 9, text.find('\r', at) - at - 9));
        }
        std::sort(subjects.begin(), subjects.end());
        return subjects;
    }

    static constexpr std::pair<const char*, const char*> Mail[] = {
        {"friend@example.org", "one"},
        {"spammer@elsewhere.test", "two"},
        {"friend@example.org", "three"},
        {"friend@example.org", "four"}};
    static std::unique_ptr<DovecotServer> server;
};

std::unique_ptr<DovecotServer> Pop3FaultTest::server;

TEST_P(Pop3FaultTest, OneRecoveryFetchLeavesEveryMessageExactlyOnce) {
    const FaultCase& c = GetParam();
    Pop3Proxy proxy(server->port(), c.fault, c.command, c.nth);
    start();
    sset("MailTimeout", 2);
    sset("DELETEONRETRIEVE", 1);
    setAccount(0, proxy.address(), "ann", "Ann");

    ASSERT_TRUE(cycle(true, true, 20000));
    const auto notices = view.texts(ListLine::Kind::Notice);
    const bool doubted = std::any_of(notices.begin(), notices.end(), [](const std::string& t) {
        return t.find("may not have happened") != std::string::npos;
    });
    EXPECT_EQ(doubted, c.doubt);
    if (c.doubt) {
        EXPECT_EQ(main->DeletedThisRun(), 0);
    }

    ASSERT_TRUE(cycle(true, true, 20000));
    EXPECT_EQ(storedSubjects(), (std::vector<std::string>{"four", "one", "three"}));
    EXPECT_EQ(server->messageCount("ann"), 0) << server->log();
    const auto sessions = proxy.sessions();
    ASSERT_EQ(sessions.size(), 2u);
    if (c.fault == Fault::Drop && std::string(c.command) == "QUIT") {
        // Everything was rolled back: the recovery says what the first session said.
        EXPECT_EQ(sessions[1], sessions[0]);
    }
}

INSTANTIATE_TEST_SUITE_P(Pop3, Pop3FaultTest, ::testing::ValuesIn(Cases),
                         [](const auto& test) { return std::string(test.param.name); });

} // namespace
} // namespace corva::test
