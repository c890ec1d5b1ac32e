// The cycle when servers misbehave or accounts are missing: scripted servers
// pin the corners a real server never shows.
#include "cycle/CycleFixture.h"

#include "core/FileSubs.h"
#include "core/Globals.h"
#include "support/FakeServer.h"

#include <algorithm>
#include <filesystem>

namespace corva::test {
namespace {

using Kind = ListLine::Kind;

// The greeting and login of a user, then the rest of the dialogue.
std::vector<ScriptStep> session(const std::string& user, std::vector<ScriptStep> rest) {
    std::vector<ScriptStep> steps{Say("+OK ready\r\n"), Expect("USER " + user + "\r\n"),
                                  Say("+OK\r\n"), Expect("PASS secret\r\n"), Say("+OK\r\n")};
    steps.insert(steps.end(), rest.begin(), rest.end());
    return steps;
}

std::vector<ScriptStep> emptyMailbox(const std::string& user) {
    return session(user, {Expect("LIST\r\n"), Say("+OK\r\n.\r\n"), Expect("STAT\r\n"),
                          Say("+OK 0 0\r\n"), Expect("QUIT\r\n"), Say("+OK bye\r\n")});
}

// The dialogue up to the RETR of a one-message mailbox.
std::vector<ScriptStep> upToRetr() {
    return session("ann", {Expect("LIST\r\n"), Say("+OK 1 messages\r\n1 300\r\n.\r\n"),
                           Expect("STAT\r\n"), Say("+OK 1 300\r\n"), Expect("TOP 1 1\r\n"),
                           Say("+OK\r\nFrom: a@b.test\r\nTo: ann@a.test\r\nSubject: kept "
                               "safe\r\n\r\nfirst\r\n.\r\n"),
                           Expect("RETR 1\r\n")});
}

class CycleFaultTest : public CycleFixture {
protected:
    std::vector<std::string> files(const std::string& folder, const std::string& type) {
        std::vector<std::string> out;
        FillFiles(folder, type, out);
        return out;
    }
};

TEST_F(CycleFaultTest, ServerDroppingMidRetrieveLosesNothing) {
    auto script = upToRetr();
    script.push_back(Say("+OK 300 octets\r\nFrom: a@b.test\r\nTo: ann@a.test\r\nSubject: kept "
                         "safe\r\n\r\nthe first half of the bo"));
    script.push_back(Pause(50));
    script.push_back(Drop());
    FakeServer pop(script);
    start();
    sset("MailTimeout", 1);
    sset("DELETEONRETRIEVE", 1);
    setAccount(0, pop.address(), "ann", "Ann");

    ASSERT_TRUE(cycle(false, true, 15000));
    EXPECT_TRUE(files(MessageFolder + InboxFolder, "eml").empty());
    EXPECT_TRUE(files(MessageFolder, "tmp").empty()) << "the partial download is removed";
    EXPECT_EQ(main->MessagesSaved(), 0);
    // Neither DELE nor QUIT: the message stays on the server.
    EXPECT_EQ(pop.received().find("DELE"), std::string::npos) << visible(pop.received());
    EXPECT_EQ(pop.received().find("QUIT"), std::string::npos);
    EXPECT_FALSE(view.texts(Kind::Notice).empty());
    EXPECT_FALSE(main->Checking());
}

TEST_F(CycleFaultTest, MessageThatCannotBeStoredStaysOnTheServer) {
    auto script = upToRetr();
    script.push_back(Say("+OK 300 octets\r\nFrom: a@b.test\r\nTo: ann@a.test\r\nSubject: kept "
                         "safe\r\n\r\nbody\r\n.\r\n"));
    // No DELE may come before the QUIT.
    script.push_back(Expect("QUIT\r\n"));
    script.push_back(Say("+OK bye\r\n"));
    FakeServer pop(script);
    start();
    sset("DELETEONRETRIEVE", 1);
    setAccount(0, pop.address(), "ann", "Ann");
    // A file where the Inbox should be: no folder can be made there.
    std::filesystem::remove_all(MessageFolder + InboxFolder);
    writeFile(MessageFolder + InboxFolder, "not a folder");

    ASSERT_TRUE(cycle(false, true, 15000));
    EXPECT_TRUE(pop.waitClosed(2000));
    EXPECT_EQ(pop.problems(), "");
    EXPECT_EQ(main->MessagesSaved(), 0);
    ASSERT_FALSE(platform_.prompts_.messages.empty());
    EXPECT_TRUE(StartsWith(platform_.prompts_.messages[0], "Cannot find mail folder: "));
    auto notices = view.texts(Kind::Notice);
    EXPECT_TRUE(std::any_of(notices.begin(), notices.end(),
                            [](const std::string& n) { return StartsWith(n, "Could not save"); }));
}

TEST_F(CycleFaultTest, TimeOutEndsTheCycleAndTheNextCycleVisitsAllAccounts) {
    FakeServer silent({Say("+OK ready\r\n"), Silence()});
    FakeServer second(emptyMailbox("bob"));
    start(frmMain::AutoScan::Settings);
    sset("ScanOnStart", true);
    sset("DELAY", 60);
    sset("MailTimeout", 1);
    setAccount(0, silent.address(), "ann", "Ann");
    setAccount(1, second.address(), "bob", "Bob");

    ASSERT_TRUE(cycle(false, false, 15000));
    EXPECT_EQ(view.texts(Kind::Server), (std::vector<std::string>{"Ann"}));
    auto notices = view.texts(Kind::Notice);
    EXPECT_NE(std::find(notices.begin(), notices.end(), "Timed out after 1 seconds."),
              notices.end());
    EXPECT_NE(std::find(notices.begin(), notices.end(), "Communications cancelled"), notices.end());
    EXPECT_EQ(second.received(), "") << "the cycle ended before the second account";
    EXPECT_EQ(main->CurrentAccount(), -1);
    EXPECT_TRUE(main->autoScanTimerEnabled()) << "the timer restarts after a time-out";
    EXPECT_EQ(main->ScanDelay(), 60);

    FakeServer first(emptyMailbox("ann"));
    sset("SERVER0", first.address());
    ASSERT_TRUE(cycle(false, false, 15000));
    EXPECT_EQ(view.texts(Kind::Server), (std::vector<std::string>{"Ann", "Bob"}));
    EXPECT_EQ(view.texts(Kind::Notice),
              (std::vector<std::string>{"No messages on Ann", "No messages on Bob"}));
    EXPECT_TRUE(second.waitClosed(2000));
    EXPECT_EQ(second.problems(), "");
}

TEST_F(CycleFaultTest, NoAccountsEndsWithTheSettingsQuestionAndNoTimer) {
    const std::string question =
        "You need to set up your email account(s). Would you like to open the settings screen?";
    start(frmMain::AutoScan::Settings);
    sset("ScanOnStart", true);
    sset("DELAY", 30);
    main->setSendAfterCheck(true);

    ASSERT_TRUE(cycle(false, false, 5000));
    EXPECT_EQ(platform_.prompts_.messages, (std::vector<std::string>{question}));
    EXPECT_TRUE(view.texts(Kind::Server).empty());
    EXPECT_FALSE(main->autoScanTimerEnabled());
    EXPECT_TRUE(main->SendAfterCheck()) << "kept for the next cycle on this path";
    EXPECT_EQ(view.settingsDialogs, 0);

    platform_.prompts_.answer = platform::Answer::Yes;
    ASSERT_TRUE(cycle(false, false, 5000));
    EXPECT_EQ(view.settingsDialogs, 1);

    // An account that only has an address is passed over silently, and the
    // cycle ends the ordinary way.
    platform_.prompts_.messages.clear();
    FakeServer pop(emptyMailbox("bob"));
    sset("TITLE3", "Nowhere");
    sset("REPLYADDRESS3", "me@example.test");
    setAccount(1, pop.address(), "bob", "Bob");
    ASSERT_TRUE(cycle(false, false, 5000));
    EXPECT_EQ(view.texts(Kind::Server), (std::vector<std::string>{"Bob"}));
    EXPECT_EQ(view.texts(Kind::Notice), (std::vector<std::string>{"No messages on Bob"}));
    EXPECT_TRUE(platform_.prompts_.messages.empty());
    EXPECT_TRUE(platform_.prompts_.passwordPrompts.empty());
    EXPECT_EQ(sget("CHECK3", "unset").toText(), "unset") << "no transfer began for it";
    EXPECT_TRUE(main->autoScanTimerEnabled());
    EXPECT_EQ(main->ScanDelay(), 30);
    EXPECT_FALSE(main->SendAfterCheck());
    EXPECT_FALSE(main->Sending()) << "the upload ran and found nothing to send";
}

TEST_F(CycleFaultTest, UnreachableServerEndsTheCycle) {
    FakeServer second(emptyMailbox("bob"));
    start();
    sset("MailTimeout", 2);
    setAccount(0, "nosuchhost.invalid", "ann", "Ann");
    setAccount(1, second.address(), "bob", "Bob");

    ASSERT_TRUE(cycle(false, false, 15000));
    EXPECT_EQ(main->CurrentAccount(), -1);
    EXPECT_EQ(second.received(), "") << "a network failure ends the whole cycle";
    auto& seen = view.progress;
    bool noConnection = std::find(seen.begin(), seen.end(), "No Internet Connection") != seen.end();
    auto notices = view.texts(Kind::Notice);
    bool timedOut =
        std::find(notices.begin(), notices.end(), "Timed out after 2 seconds.") != notices.end();
    EXPECT_TRUE(noConnection || timedOut);
}

TEST_F(CycleFaultTest, ASecondCheckWhileOneRunsIsRefused) {
    FakeServer silent({Say("+OK ready\r\n"), Silence()});
    start();
    setAccount(0, silent.address(), "ann", "Ann");
    main->checkmail({});
    ASSERT_TRUE(main->Checking());
    CycleRequest second;
    second.deleteBlocked = true;
    second.retrieve = true;
    main->checkmail(second);
    EXPECT_FALSE(main->RetrieveMode());
    EXPECT_FALSE(main->DeleteMode());
    EXPECT_EQ(view.toolbarImage, "stop");
    main->cancelcheck();
    EXPECT_EQ(view.toolbarImage, "sendreceive");
}

} // namespace
} // namespace corva::test
