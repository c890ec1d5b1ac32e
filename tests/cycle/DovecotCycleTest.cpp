// The cycle against real servers: three accounts on two Dovecot servers, with
// a block list, a domain block, an ignore entry, a delete rule and a folder
// rule (which keeps its folder only by stopping the check before the score).
#include "cycle/CycleFixture.h"

#include "support/EmlFiles.h"

#include "core/FileSubs.h"
#include "core/Globals.h"
#include "filters/frmFilters.h"
#include "store/modTags.h"
#include "support/DovecotServer.h"

#include <algorithm>
#include <map>
#include <memory>

namespace corva::test {
namespace {

const char* Rules = "Filtername, No pills\r\nFilterField, Subject:\r\nFilterComparison, cnt\r\n"
                    "FilterString, viagra\r\nFilterAction, 0\r\nFilterDest, \r\nFilterStop, 0\r\n"
                    "Filter_Category, 0\r\nFiltername, Lists\r\nFilterField, From:\r\n"
                    "FilterComparison, cnt\r\nFilterString, news@list.test\r\nFilterAction, 2\r\n"
                    "FilterDest, Lists\\\r\nFilterStop, -1\r\nFilter_Category, 0\r\n";

class DovecotCycleTest : public CycleFixture {
protected:
    static void SetUpTestSuite() {
        if (!DovecotServer::available()) return;
        serverA = std::make_unique<DovecotServer>();
        serverB = std::make_unique<DovecotServer>();
        serverA->addUser("ann", "secret");
        serverA->addUser("bob", "secret");
        serverB->addUser("cat", "secret");
    }
    static void TearDownTestSuite() {
        serverA.reset();
        serverB.reset();
    }

    void SetUp() override {
        if (!serverA) GTEST_SKIP() << "Dovecot is not installed";
        CycleFixture::SetUp();
        for (const char* user : {"ann", "bob"}) serverA->clearMailbox(user);
        serverB->clearMailbox("cat");
        serverA->addMessage("ann", mailText("friend@example.org", "ann@a.test", "lunch on friday"));
        serverA->addMessage("ann",
                            mailText("spammer@elsewhere.test", "ann@a.test", "cheap watches"));
        serverA->addMessage("ann", mailText("news@list.test", "ann@a.test", "weekly digest"));
        serverA->addMessage("ann", mailText("someone@x.test", "ann@a.test", "buy viagra now"));
        serverA->addMessage("bob", mailText("colleague@work.test", "bob@a.test", "project notes"));
        serverA->addMessage("bob", mailText("other@junk.test", "bob@a.test", "hello again"));
        serverB->addMessage("cat", mailText("aunt@family.test", "cat@b.test", "holiday photos"));
        serverB->addMessage("cat", mailText("club@chess.test", "cat@b.test", "next match"));
        serverB->addMessage("cat", mailText("robot@lists.test", "list-only@b.test", "digest 42"));

        writeFile(dir.file("Rules.txt"), Rules);
        writeFile(dir.file("Blocked.txt"), "spammer@elsewhere.test\r\n");
        writeFile(dir.file("BlockedDomains.txt"), "junk.test\r\n");
        writeFile(dir.file("Ignore.txt"), "list-only@b.test\r\n");
        start();
        setAccount(0, serverA->address(), "ann", "Ann");
        setAccount(1, serverA->address(), "bob", "Bob");
        setAccount(2, serverB->address(), "cat", "Cat");
    }

    std::vector<std::string> emlFiles(const std::string& folder) {
        return emlFilesIn(MessageFolder + folder);
    }

    static std::unique_ptr<DovecotServer> serverA;
    static std::unique_ptr<DovecotServer> serverB;
};

std::unique_ptr<DovecotServer> DovecotCycleTest::serverA;
std::unique_ptr<DovecotServer> DovecotCycleTest::serverB;

using Kind = ListLine::Kind;

TEST_F(DovecotCycleTest, ScanListsEveryMessageWithItsVerdict) {
    ASSERT_TRUE(cycle(false, false));

    const std::map<std::string, std::string> verdicts = {
        {"lunch on friday", "PASS"}, {"cheap watches", "BLOCK"}, {"weekly digest", "PASS"},
        {"buy viagra now", "FAIL"},  {"project notes", "PASS"},  {"hello again", "BLOCK"},
        {"holiday photos", "PASS"},  {"next match", "PASS"},     {"N/A", "IGNORE"}};
    auto lines = view.messages();
    ASSERT_EQ(lines.size(), verdicts.size());
    for (const auto& [subject, word] : verdicts)
        EXPECT_EQ(view.line(subject).Status, word) << subject;

    EXPECT_EQ(view.line("cheap watches").FilteredBy, "Sender Blocked");
    EXPECT_EQ(view.line("buy viagra now").FilteredBy, "No pills");
    EXPECT_EQ(view.line("lunch on friday").Colour, ColourGood);
    EXPECT_EQ(view.line("buy viagra now").Colour, ColourDelete);
    EXPECT_EQ(view.line("N/A").Colour, ColourLeftAlone);
    // Accnt is the account, Msg the count within it, MsgNum the place in the cycle.
    auto numbers = [&](const std::string& subject) {
        ListLine l = view.line(subject);
        return l.Accnt + " " + l.Msg + " " + l.MsgNum + " " + l.Size + " " + l.To;
    };
    EXPECT_EQ(numbers("weekly digest"), "0 3 3 0kb ann@a.test");
    EXPECT_EQ(numbers("holiday photos"), "2 1 7 0kb cat@b.test");
    EXPECT_EQ(view.texts(Kind::Server), (std::vector<std::string>{"Ann", "Bob", "Cat"}));

    EXPECT_EQ(main->MessagesSeen(), 9);
    EXPECT_EQ(main->MessagesKept(), 5);
    EXPECT_EQ(main->ServerMessages().Count(), 9);
    EXPECT_EQ(main->DeletedThisRun(), 0);
    EXPECT_EQ(main->CurrentAccount(), -1);
    EXPECT_FALSE(main->Checking());
    EXPECT_EQ(view.trayPicture, TrayPicture::GotMail);
    EXPECT_EQ(view.trayTip, "Corva - Ann - 5 message(s)");
    EXPECT_EQ(view.toolbarImage, "sendreceive");
    // A scan stores nothing and leaves the servers as they were.
    EXPECT_TRUE(emlFiles(InboxFolder).empty());
    EXPECT_EQ(serverA->subjects("ann").size(), 4u);

    // New mail is told once: the next scan finds the same messages.
    const std::vector<std::string> told{"Corva - New mail: 5 new message(s) on the server"};
    EXPECT_EQ(view.notifications, told);
    ASSERT_TRUE(cycle(false, false));
    EXPECT_EQ(view.notifications, told);
}

TEST_F(DovecotCycleTest, ScanWithDeleteRemovesExactlyTheBlockedMessages) {
    ASSERT_TRUE(cycle(true, false));

    for (const auto& l : view.messages()) {
        EXPECT_NE(l.Status, "BLOCK") << l.Subject;
        EXPECT_NE(l.Status, "FAIL") << l.Subject;
    }
    EXPECT_EQ(view.messages().size(), 6u);
    EXPECT_EQ(main->DeletedThisRun(), 3);
    EXPECT_EQ(main->TotalDeleted(), 3);
    EXPECT_EQ(Trim(sget("SpamCount", 0).toText()), "3");

    EXPECT_EQ(serverA->subjects("ann"),
              (std::vector<std::string>{"lunch on friday", "weekly digest"}));
    EXPECT_EQ(serverA->subjects("bob"), (std::vector<std::string>{"project notes"}));
    EXPECT_EQ(serverB->subjects("cat"),
              (std::vector<std::string>{"holiday photos", "next match", "digest 42"}));
}

TEST_F(DovecotCycleTest, RetrieveStoresEachPassingMessageOnceEvenWhenRetrievedAgain) {
    ASSERT_TRUE(cycle(false, true));

    auto inbox = emlFiles(InboxFolder);
    auto lists = emlFiles("Lists");
    ASSERT_EQ(inbox.size(), 4u);
    ASSERT_EQ(lists.size(), 1u);
    EXPECT_EQ(main->MessagesSaved(), 5);
    for (const auto& name : inbox) {
        EXPECT_EQ(name, UCase(name)) << "an unread message's name is upper case";
        std::string text = readFile(MessageFolder + "Inbox/" + name);
        EXPECT_NE(text.find("X-Receive-Date: "), std::string::npos) << name;
        EXPECT_EQ(text.find("viagra"), std::string::npos);
    }
    EXPECT_NE(readFile(MessageFolder + "Lists/" + lists[0]).find("Subject: weekly digest"),
              std::string::npos);
    EXPECT_EQ(readunreadtag(MessageFolder + "Inbox/"), 4);
    EXPECT_EQ(readunreadtag(MessageFolder + "Lists/"), 1);
    EXPECT_GT(readlastmessagetag(MessageFolder + "Inbox/"), 0);
    // What was stored is no line of the list: it counts as neither seen nor
    // kept and makes no new mail by being listed. The store and the
    // notification say what arrived.
    EXPECT_EQ(main->ServerMessages().Count(), 4);
    for (const auto& m : main->ServerMessages())
        EXPECT_TRUE(m->Deleted || m->Ignored) << m->Subject;
    EXPECT_EQ(main->MessagesSeen(), 4);
    EXPECT_EQ(main->MessagesKept(), 0);
    EXPECT_FALSE(main->NewMailArrived());
    EXPECT_EQ(view.trayPicture, TrayPicture::LargeS);
    EXPECT_EQ(view.notifications,
              std::vector<std::string>{"Corva - New mail: 5 new message(s) downloaded"});
    // Nothing was deleted: the servers still hold everything.
    EXPECT_EQ(serverA->subjects("ann").size(), 4u);

    // Retrieved again, what is stored already is not stored a second time.
    ASSERT_TRUE(cycle(false, true));
    EXPECT_EQ(emlFiles(InboxFolder), inbox);
    EXPECT_EQ(emlFiles("Lists").size(), 1u);
    EXPECT_EQ(readunreadtag(MessageFolder + "Inbox/"), 4);
}

TEST_F(DovecotCycleTest, DeleteOnRetrieveRemovesOnlyWhatWasStored) {
    sset("DELETEONRETRIEVE", 1);
    sset("NotifyNewMail", false);
    ASSERT_TRUE(cycle(false, true));
    EXPECT_TRUE(view.notifications.empty()) << "turned off";

    EXPECT_EQ(emlFiles(InboxFolder).size(), 4u);
    EXPECT_EQ(emlFiles("Lists").size(), 1u);
    EXPECT_EQ(serverA->subjects("ann"),
              (std::vector<std::string>{"cheap watches", "buy viagra now"}));
    EXPECT_EQ(serverA->subjects("bob"), (std::vector<std::string>{"hello again"}));
    // The ignored message is left on the server, not fetched.
    EXPECT_EQ(serverB->subjects("cat"), (std::vector<std::string>{"digest 42"}));
}

TEST_F(DovecotCycleTest, OneAccountCycleVisitsOnlyThatAccount) {
    CycleRequest one;
    one.accounts = AccountSet::one(1);
    main->checkmail(one);
    ASSERT_TRUE(waitForCycle());
    EXPECT_EQ(view.texts(Kind::Server), (std::vector<std::string>{"Bob"}));
    EXPECT_EQ(main->MessagesSeen(), 2);
    EXPECT_EQ(main->AccountMessages(1), 2);
    EXPECT_EQ(main->LastAccount(), 1);
}

TEST_F(DovecotCycleTest, ChangedListsRecolourTheLastScanWithoutAConnection) {
    ASSERT_TRUE(cycle(false, false));
    ASSERT_EQ(view.line("lunch on friday").Status, "PASS");

    ASSERT_TRUE(main->ServerFilters().BlockSender("friend@example.org"));
    main->rescanCachedmail();
    EXPECT_EQ(view.texts(Kind::Server), (std::vector<std::string>{"Rescan"}));
    EXPECT_EQ(view.line("lunch on friday").Status, "BLOCK");
    EXPECT_EQ(view.line("lunch on friday").Colour, ColourDelete);
    EXPECT_EQ(view.messages().size(), 9u);
    EXPECT_EQ(view.messages().back().MsgNum, "9");
    EXPECT_EQ(main->MessagesKept(), 4);
    // It ran at once, with no event in between: nothing went to a server.
    EXPECT_FALSE(main->Checking());
}

TEST_F(DovecotCycleTest, LoadOfTwentyAccountsScansInOneCycle) {
    constexpr int Accounts = 20;
    constexpr int PerAccount = 100; // twenty busy accounts in one cycle, in seconds
    DovecotServer big;
    for (int a = 0; a < Accounts; ++a) {
        const std::string user = "load" + Str(a);
        big.addUser(user, "secret");
        for (int m = 1; m <= PerAccount; ++m) {
            // Every tenth message comes from a blocked sender.
            std::string from =
                m % 10 == 0 ? "spammer@elsewhere.test" : "friend" + Str(m) + "@ok.test";
            big.addMessage(user,
                           mailText(from, user + "@load.test", "load " + Str(a) + " " + Str(m)));
        }
        setAccount(a, big.address(), user, "Load " + Str(a));
    }
    sset("MailTimeout", 30);

    ASSERT_TRUE(cycle(false, false, 600000));
    EXPECT_EQ(main->MessagesSeen(), Accounts * PerAccount);
    EXPECT_EQ(main->MessagesKept(), Accounts * PerAccount * 9 / 10);
    EXPECT_EQ(main->ServerMessages().Count(), Accounts * PerAccount);
    for (int a = 0; a < Accounts; ++a) EXPECT_EQ(main->AccountMessages(a), PerAccount) << a;
    EXPECT_EQ(view.texts(Kind::Server).size(), static_cast<size_t>(Accounts));
    EXPECT_TRUE(view.texts(Kind::Notice).empty());
    EXPECT_EQ(view.messages().back().MsgNum, Str(Accounts * PerAccount));
    EXPECT_EQ(view.messages().back().Msg, Str(PerAccount));
}

} // namespace
} // namespace corva::test
