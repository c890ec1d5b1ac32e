// The mailer's commands on the store: marks, the Delete key and moves keep
// files, tags and caches in step.
#include "StoreFixture.h"
#include "support/EmlFiles.h"

#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "platform/Files.h"
#include "platform/Platform.h"
#include "store/ReplacedFiles.h"
#include "store/modMailerActions.h"
#include "store/modTags.h"

#include <filesystem>

using namespace corva;
using namespace corva::test;
namespace fs = std::filesystem;

TEST_F(StoreTest, MarkingRenamesFilesAndRewritesTheCount) {
    MessageSpec encoded = dated("a", 2, false);
    encoded.body =
        "--b\r\nContent-Transfer-Encoding: quoted-printable\r\n\r\nGr=C3=BC=\r\n\x01--b--";
    std::string a = addMessage("Inbox/", "A.EML", encoded);
    std::string b = addMessage("Inbox/", "b.eml", dated("b", 2, true));
    createunreadtag(inbox(), 1);
    FolderCaches caches;
    int i = caches.createcache(nullptr, inbox(), "Inbox");

    const std::string before = readFile(a);
    auto paths = MarkMessagesReadUnread(caches, inbox(), {a, b}, true);
    EXPECT_EQ(paths, (std::vector<std::string>{inbox() + "a.eml", b}));
    EXPECT_EQ(emlFilesIn(inbox()), (std::vector<std::string>{"a.eml", "b.eml"}));
    // The body is written back byte for byte; only the flag line is new.
    const size_t blank = before.find("\r\n\r\n");
    EXPECT_EQ(readFile(inbox() + "a.eml"),
              before.substr(0, blank) + "\r\nX-Message-Read: 1" + before.substr(blank));
    EXPECT_EQ(readunreadtag(inbox()), 0);
    for (const auto& m : caches.Item(i)) EXPECT_TRUE(m->Read) << m->Subject;

    // Set aside, the old files leave the folder at once and go later.
    ReplacedFiles replaced;
    MarkMessagesReadUnread(caches, inbox(), {inbox() + "a.eml", b}, false, &replaced);
    EXPECT_EQ(emlFilesIn(inbox()), (std::vector<std::string>{"A.EML", "B.EML"}));
    EXPECT_EQ(replaced.pending(), 2u);
    EXPECT_TRUE(replaced.removeSome(1000));
    EXPECT_EQ(replaced.pending(), 0u);
    const std::string aside = platform::current().files().privateTempFolder();
    EXPECT_TRUE(fs::is_empty(aside)) << aside;
    EXPECT_EQ(readunreadtag(inbox()), 2);
    // The cache file agrees with the files.
    EXPECT_NE(readFile(inbox() + "cache.csv").find(inbox() + "A.EML"), std::string::npos);
}

TEST_F(StoreTest, DeleteMovesToDeletedAsReadAndDeletesForGoodThere) {
    std::string deleted = MessageFolder + "Deleted/";
    writeFile(deleted + "same.eml", messageText(dated("older", 2, true)));
    std::string a = addMessage("Inbox/", "SAME.EML", dated("a", 2, false));
    std::string b = addMessage("Inbox/", "other.eml", dated("b", 2, true));
    createunreadtag(inbox(), 1);
    FolderCaches caches;
    int d = caches.createcache(nullptr, deleted, "Deleted");

    DeleteMessages(caches, inbox(), {a, b});
    EXPECT_TRUE(emlFilesIn(inbox()).empty());
    EXPECT_EQ(readunreadtag(inbox()), 0);
    // A clash takes "_1" in front of the extension; everything there is read.
    EXPECT_EQ(emlFilesIn(deleted),
              (std::vector<std::string>{"other.eml", "same.eml", "same_1.eml"}));
    EXPECT_EQ(caches.Item(d).Count(), 3);
    for (const auto& m : caches.Item(d)) EXPECT_TRUE(m->Read) << m->Subject;

    DeleteMessages(caches, deleted, {deleted + "same_1.eml"});
    EXPECT_EQ(emlFilesIn(deleted), (std::vector<std::string>{"other.eml", "same.eml"}));
    EXPECT_EQ(caches.Item(d).Count(), 2);
}

// Moved together, two names that come out the same in the target must not
// land on one file.
TEST_F(StoreTest, MovingAnUnreadMessageMovesItsCountAndAReadOneNone) {
    fs::create_directories(MessageFolder + "Work");
    std::string work = MessageFolder + "Work/";
    std::string a = addMessage("Inbox/", "A (101500-240301) .EML", dated("a", 2, false));
    std::string b = addMessage("Inbox/", "a (111111-240301) .eml", dated("b", 2, true));
    createunreadtag(inbox(), 1);
    FolderCaches caches;
    int w = caches.createcache(nullptr, work, "Work");

    auto moved = MoveMessages(caches, inbox(), work, {a, b});
    ASSERT_EQ(moved.size(), 2u);
    EXPECT_TRUE(StartsWith(fileonly(moved[0]), "A (")) << moved[0];
    EXPECT_EQ(fileonly(moved[0]), UCase(fileonly(moved[0])));
    EXPECT_EQ(fileonly(moved[1]), LCase(fileonly(moved[1])));
    EXPECT_NE(LCase(moved[0]), LCase(moved[1]));
    EXPECT_EQ(readunreadtag(inbox()), 0);
    EXPECT_EQ(readunreadtag(work), 1);
    EXPECT_GT(readlastmessagetag(work), 0);
    EXPECT_TRUE(emlFilesIn(inbox()).empty());
    EXPECT_EQ(emlFilesIn(work).size(), 2u);
    EXPECT_EQ(caches.Item(w).Count(), 2);
    EXPECT_EQ(Split(readFile(work + "cache.csv"), "\r\n").size(), 4u) << "heading, 2 rows, end";
}

namespace {
struct Subjects : MailerListener {
    std::vector<std::string> seen;
    void ClearMessages() override { seen.clear(); }
    void AddMessage(clsMessage& m, long, long) override { seen.push_back(m.Subject); }
};

void rewriteSubject(const std::string& path, const std::string& from, const std::string& to) {
    writeFile(path, Replace(readFile(path), "Subject: " + from, "Subject: " + to));
}
} // namespace

TEST_F(StoreTest, FoldersAreListedFromTheirCacheExceptTheOutbox) {
    std::string a = addMessage("Inbox/", "A.EML", dated("first", 2, false));
    std::string o = addMessage("Outbox/", "O.EML", dated("waiting", 2, false));
    FolderCaches caches;
    clsMailer mailer;
    Subjects list;
    mailer.setListener(&list);

    caches.populatelistview(mailer, nullptr, inbox(), "Inbox", false);
    EXPECT_EQ(list.seen, std::vector<std::string>{"first"});
    EXPECT_GE(caches.cacheindex("Inbox"), 0);
    rewriteSubject(a, "first", "changed");
    caches.populatelistview(mailer, nullptr, inbox(), "Inbox", false);
    EXPECT_EQ(list.seen, std::vector<std::string>{"first"}) << "served from the cache";

    std::string outbox = MessageFolder + "Outbox/";
    caches.populatelistview(mailer, nullptr, outbox, "Outbox", false);
    rewriteSubject(o, "waiting", "edited");
    caches.populatelistview(mailer, nullptr, outbox, "Outbox", false);
    EXPECT_EQ(list.seen, std::vector<std::string>{"edited"});
    EXPECT_EQ(caches.cacheindex("Outbox"), -1);
    EXPECT_FALSE(FileExists(outbox + "cache.csv"));

    NoCacheFlag = true;
    FolderCaches uncached;
    uncached.populatelistview(mailer, nullptr, inbox(), "Inbox", false);
    EXPECT_EQ(list.seen, std::vector<std::string>{"changed"});
    EXPECT_EQ(uncached.cacheindex("Inbox"), -1);
    NoCacheFlag = false;
}
