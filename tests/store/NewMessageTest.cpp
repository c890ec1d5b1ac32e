// A message saved by the scan reaches the folder's tags and cache without the
// folder being read again.
#include "StoreFixture.h"

#include "core/DateTime.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "store/FolderCaches.h"
#include "store/RetrieveStore.h"
#include "store/modMessageFiles.h"
#include "store/modTags.h"

#include <algorithm>
#include <filesystem>

using namespace corva;
using namespace corva::test;

namespace {

// Saves a message the way the scan does and returns it with its path.
std::pair<std::string, clsMessage> saveNew(const std::string& folder, const std::string& subject,
                                           const std::string& id) {
    MessageSpec s;
    s.subject = subject;
    s.id = id;
    clsMessage m;
    m.CreateFromText(messageText(s), false);
    std::string path = getunusedfilename(m.Read, folder, subject, ".eml");
    m.setFilename(path);
    WriteTextFile(path, m.RawMessage());
    return {path, m};
}

} // namespace

TEST_F(StoreTest, NewMessageInAClosedFolderGoesToTagsAndCacheFile) {
    std::string f = inbox();
    auto [p1, m1] = saveNew(f, "First", "<f1@x>");
    clsCache opened;
    opened.fillcache(nullptr, f, "Inbox");
    opened.Clear(false);

    FolderCaches caches;
    auto [p2, m2] = saveNew(f, "Second", "<f2@x>");
    EXPECT_FALSE(caches.AddNewMessage(p2, f, m2));
    EXPECT_EQ(readunreadtag(f), 1);
    EXPECT_EQ(readlastmessagetag(f), today());
    EXPECT_NE(readFile(f + "cache.csv").find("<f2@x>"), std::string::npos);

    // The next open finds the row, and doesn't read the file for it.
    WriteTextFile(p2, Replace(readFile(p2), "Subject: Second", "Subject: Reread"));
    clsCache next;
    next.fillcache(nullptr, f, "Inbox");
    std::vector<std::string> subjects;
    for (const auto& m : next) subjects.push_back(m->Subject);
    EXPECT_EQ(subjects, (std::vector<std::string>{"First", "Second"}));

    // A folder with no cache file yet is left for its first open to build.
    std::string sent = MessageFolder + "Sent Items/";
    auto [p3, m3] = saveNew(sent, "Third", "<f3@x>");
    caches.AddNewMessage(p3, sent, m3);
    EXPECT_FALSE(FileExists(sent + "cache.csv"));
    EXPECT_EQ(readunreadtag(sent), 1);
}

TEST_F(StoreTest, NewMessageInAnOpenFolderJoinsItsCache) {
    std::string f = inbox();
    saveNew(f, "First", "<o1@x>");
    FolderCaches caches;
    int i = caches.createcache(nullptr, f, "Inbox");
    ASSERT_EQ(i, 0);
    EXPECT_EQ(caches.cacheindex(" inbox "), 0);

    auto [p2, m2] = saveNew(f, "Second", "");
    EXPECT_TRUE(caches.AddNewMessage(p2, f, m2));
    EXPECT_EQ(caches.Item(0).Count(), 2);
    EXPECT_EQ(caches.Item(0).Item(2)->Filename(), p2);
    // The file on disk now says what a full write would.
    clsCache copy;
    copy.fillcache(nullptr, f, "Inbox");
    EXPECT_EQ(copy.Count(), 2);
    EXPECT_TRUE(StartsWith(copy.Item(2)->MessageID, "<Corva."));

    // A second message with a known identifier is left out.
    auto [p3, m3] = saveNew(f, "Third", "<O1@x>");
    EXPECT_FALSE(caches.AddNewMessage(p3, f, m3));
    EXPECT_EQ(caches.Item(0).Count(), 2);

    caches.ClearAllCaches();
    EXPECT_EQ(caches.cacheindex("Inbox"), -1);
    EXPECT_FALSE(FileExists(f + "cache.csv"));
}

// The cycle learns a folder's names once; what it learned must still keep it
// from writing over any file, its own of this cycle or one that was there.
TEST_F(StoreTest, RetrievedMessagesNeverTakeANameInUse) {
    RetrieveStore store;
    // A rule's folder in the wrong case finds the one on disk; a new one is made.
    MkMissingDir(MessageFolder + "Lists");
    EXPECT_EQ(store.folder(MessageFolder, "lists"), MessageFolder + "Lists/");
    const std::string inboxFolder = store.folder(MessageFolder, "");
    ASSERT_EQ(inboxFolder, inbox());
    EXPECT_EQ(store.folder(MessageFolder, "New/Sub"), MessageFolder + "New/Sub/");
    EXPECT_TRUE(FolderExists(MessageFolder + "New/Sub"));

    // A file of the other case stands there before the folder is listed.
    const std::string first = getunusedfilename(true, inboxFolder, "Report", ".eml");
    writeFile(first, "old");
    std::vector<std::string> paths;
    for (bool read : {false, true, false}) {
        std::string path = store.unusedPath(inboxFolder, read, "Report");
        ASSERT_FALSE(path.empty());
        ASSERT_TRUE(store.write(path, "Subject: Report\r\n\r\nx\r\n", read));
        EXPECT_EQ(fileonly(path), read ? LCase(fileonly(path)) : UCase(fileonly(path)));
        paths.push_back(path);
    }
    EXPECT_EQ(readFile(first), "old");
    std::sort(paths.begin(), paths.end());
    EXPECT_EQ(std::unique(paths.begin(), paths.end()), paths.end());

    // A folder gone behind the cycle's back fails the write once; the next
    // message makes it again.
    std::filesystem::remove_all(MessageFolder + "New");
    const std::string lost = store.unusedPath(MessageFolder + "New/Sub/", false, "Gone");
    EXPECT_FALSE(store.write(lost, "x", false));
    EXPECT_EQ(store.foldersKnown(), 0u);
    EXPECT_EQ(store.folder(MessageFolder, "New/Sub"), MessageFolder + "New/Sub/");
}
