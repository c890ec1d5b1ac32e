// The folder cache: cache.csv as written and read, what a cached open reads
// (nothing but the cache), and damaged caches and folders.
#include "StoreFixture.h"

#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "store/clsCache.h"
#include "store/modFolders.h"

#include <filesystem>
#include <set>
#include <sys/stat.h>

using namespace corva;
using namespace corva::test;
namespace fs = std::filesystem;

namespace {

std::set<std::string> subjects(const clsCache& c) {
    std::set<std::string> s;
    for (const auto& m : c) s.insert(m->Subject);
    return s;
}

// The inbox's cache as an open of the folder leaves it, and what that lists.
clsCache opened() {
    clsCache c;
    c.fillcache(nullptr, MessageFolder + "Inbox/", "Inbox");
    return c;
}
std::set<std::string> openInbox() {
    return subjects(opened());
}

MessageSpec sample(const std::string& subject, const std::string& id, bool read = false) {
    MessageSpec s;
    s.subject = subject;
    s.id = id;
    s.read = read;
    s.receiveDate = "2024-03-01 10:00:00";
    return s;
}

// Rewrites a message file with another subject under the same name: a cached
// open can't see it, so a changed subject in the list means the file was read.
void changeSubject(const std::string& path, const std::string& subject) {
    std::string text = readFile(path);
    size_t at = text.find("Subject: ");
    size_t end = text.find("\r\n", at);
    writeFile(path, text.substr(0, at + 9) + subject + text.substr(end));
}

std::vector<std::string> cacheLines(const std::string& folder) {
    return Split(readFile(folder + "cache.csv"), "\r\n");
}

} // namespace

TEST_F(StoreTest, CachedOpenReadsOnlyTheCacheAndFollowsFilesThatCameAndWent) {
    std::string a = addMessage("Inbox/", "A.EML", sample("Alpha", "<a@x>"));
    std::string b = addMessage("Inbox/", "B.EML", sample("Beta", "<b@x>", true));
    addMessage("Inbox/", "C.EML", sample("Gamma", "<c@x>"));

    clsCache first = opened();
    EXPECT_TRUE(first.CacheFilled());
    EXPECT_FALSE(first.CacheFilling());
    EXPECT_EQ(subjects(first), (std::set<std::string>{"Alpha", "Beta", "Gamma"}));
    ASSERT_TRUE(FileExists(inbox() + "cache.csv"));
    EXPECT_EQ(cacheLines(inbox())[0], CacheHeaderLine);

    changeSubject(a, "Changed behind the cache");
    EraseFile(b);
    addMessage("Inbox/", "D.EML", sample("Delta", "<d@x>"));

    EXPECT_EQ(openInbox(), (std::set<std::string>{"Alpha", "Gamma", "Delta"}));
    std::string csv = readFile(inbox() + "cache.csv");
    EXPECT_EQ(csv.find("<b@x>"), std::string::npos) << "a row whose file went is dropped";
    EXPECT_NE(csv.find("<d@x>"), std::string::npos);

    // With the cache gone the files are read again.
    fs::remove(inbox() + "cache.csv");
    EXPECT_EQ(openInbox(), (std::set<std::string>{"Changed behind the cache", "Gamma", "Delta"}));
}

TEST_F(StoreTest, CacheRowsKeepTheirColumnsAndProtectOnlyTheSubject) {
    MessageSpec s = sample("Split |-| here", "<s@x>", true);
    s.from = "Ann <ann@example.com>";
    addMessage("Inbox/", "ROW.EML", s);
    clsCache c = opened();
    std::vector<std::string> lines = cacheLines(inbox());
    ASSERT_GE(lines.size(), 2u);
    EXPECT_EQ(lines[1], "-1|-|0|-|1|-|Ann <ann@example.com>|-|bob@example.com|-|"
                        "Tue, 3 Jun 2008 11:05:30 +0200|-|2024-03-01 10:00:00|-|0|-|0|-|" +
                            inbox() + "row.eml|-|<s@x>|-|Split -- here");

    clsCache back = opened();
    ASSERT_EQ(back.Count(), 1);
    auto m = back.Item(1);
    EXPECT_EQ(m->Subject, "Split -- here");
    EXPECT_TRUE(m->Read);
    EXPECT_EQ(m->Filename(), inbox() + "row.eml");
    EXPECT_EQ(m->Size, 1.0f);

    // Readers take the columns from the first line, in any order.
    writeFile(inbox() + "cache.csv",
              "Subject|-|Id|-|Filename|-|Read|-|Replied|-|Size|-|From|-|To|-|SendDate|-|"
              "ReceiveDate|-|Bayes\r\nReordered|-|<s@x>|-|" +
                  inbox() + "ROW.EML|-|0|-|-1|-|2.5|-|f|-|t|-|s|-|2024-03-01 10:00:00|-|0.25\r\n");
    clsCache reordered = opened();
    ASSERT_EQ(reordered.Count(), 1);
    m = reordered.Item(1);
    EXPECT_EQ(m->Subject, "Reordered");
    EXPECT_FALSE(m->Read);
    EXPECT_TRUE(m->Replied);
    EXPECT_EQ(m->Size, 2.5f);
    EXPECT_EQ(m->Bayes, 0.25f);
}

// Headers are written by strangers: no text may split a row or shift its
// columns, and what is read back is the text without its line ends.
TEST_F(StoreTest, HostileHeadersNeitherSplitNorShiftTheirRow) {
    struct Case {
        std::string text, readBack;
    };
    const Case cases[] = {
        {"Split |-| here", "Split -- here"},
        {"Folded\r\n\tline", "Folded\tline"},
        {"Bare\rCR\nLF", "BareCRLF"},
        {std::string("NUL\0inside", 10), "NULinside"},
        {"Ends in |-", "Ends in --"},
        {"|-|-|-|", "-----"},
        {"\x1b]0;title\x07", "\x1b]0;title\x07"}, // bytes stay bytes
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.readBack);
        fs::remove_all(inbox());
        fs::create_directories(inbox());
        addMessage("Inbox/", "ROW.EML", sample("Plain", "<row@x>"));
        clsCache first = opened();
        ASSERT_EQ(first.Count(), 1);
        auto m = first.Item(1);
        m->From = m->To_Email = m->SendDate = m->Subject = c.text;
        first.WriteCache();
        ASSERT_EQ(cacheLines(inbox()).size(), 3u) << "header, one row, and the last line end";

        clsCache back = opened();
        ASSERT_EQ(back.Count(), 1);
        auto r = back.Item(1);
        EXPECT_EQ(r->Subject, c.readBack) << "the row was taken as written, not read again";
        EXPECT_EQ(r->From, c.readBack);
        EXPECT_EQ(r->To_Email, c.readBack);
        EXPECT_EQ(r->MessageID, "<row@x>");
        EXPECT_EQ(r->Filename(), inbox() + "ROW.EML");
    }
}

TEST_F(StoreTest, OneEntryPerMessageIdAndMadeUpIdsStayOutOfTheFiles) {
    addMessage("Inbox/", "ONE.EML", sample("One", "<same@x>"));
    addMessage("Inbox/", "TWO.EML", sample("Two", "<SAME@x>"));
    std::string noId = addMessage("Inbox/", "NOID.EML", sample("No id", ""));

    for (int open = 0; open < 2; ++open) {
        ResetLastActions();
        clsCache c = opened();
        EXPECT_EQ(c.Count(), 2) << "open " << open;
        EXPECT_TRUE(lastActionsHold("in addmsg")) << "open " << open << ": the duplicate is logged";
    }
    std::string csv = readFile(inbox() + "cache.csv");
    size_t made = csv.find("<Corva.");
    ASSERT_NE(made, std::string::npos);
    std::string id = csv.substr(made, csv.find('>', made) - made + 1);
    EXPECT_EQ(readFile(noId).find("Corva."), std::string::npos);

    clsCache cached = opened();
    bool kept = false;
    for (const auto& m : cached) kept = kept || m->MessageID == id;
    EXPECT_TRUE(kept) << "the cache keeps the identifier it made up";
}

TEST_F(StoreTest, DamagedCacheFilesCostRowsNotMail) {
    for (int i = 0; i < 4; ++i)
        addMessage("Inbox/", "M" + std::to_string(i) + ".EML",
                   sample("S" + std::to_string(i), "<" + std::to_string(i) + "@x>"));
    const std::set<std::string> all{"S0", "S1", "S2", "S3"};
    openInbox();
    const std::string good = readFile(inbox() + "cache.csv");

    // Cut in the middle of the last row.
    writeFile(inbox() + "cache.csv", good.substr(0, good.size() - 20));
    ResetLastActions();
    EXPECT_EQ(openInbox(), all);
    EXPECT_TRUE(lastActionsHold("in readcache")) << lastActionsText();

    // A row with too few fields.
    std::vector<std::string> lines = Split(good, "\r\n");
    lines[2] = "0|-|0|-|1";
    writeFile(inbox() + "cache.csv", Join(lines, "\r\n"));
    ResetLastActions();
    EXPECT_EQ(openInbox(), all);
    EXPECT_TRUE(lastActionsHold("fields(9) in readcache")) << lastActionsText();

    // Empty, or written by an older version without an "id" column: erased and rebuilt.
    for (std::string old : {std::string(), std::string("Read|-|Subject\r\n0|-|x\r\n"),
                            std::string("Id|-|Read\r\n<0@x>|-|0\r\n")}) {
        writeFile(inbox() + "cache.csv", old);
        EXPECT_EQ(openInbox(), all);
        EXPECT_EQ(cacheLines(inbox())[0], CacheHeaderLine);
    }
}

TEST_F(StoreTest, DamagedFolderStillOpensWithEverythingReadable) {
    addMessage("Inbox/", "GOOD1.EML", sample("Good one", "<g1@x>"));
    addMessage("Inbox/", "GOOD2.EML", sample("Good two", "<g2@x>", true));
    writeFile(inbox() + "ZERO.EML", "");
    fs::create_directories(inbox() + "FOLDER.EML");
    ASSERT_EQ(::mkfifo((inbox() + "PIPE.EML").c_str(), 0600), 0);
    writeFile(inbox() + "notes.txt", "not mail");

    ResetLastActions();
    clsCache c = opened();
    std::set<std::string> s = subjects(c);
    EXPECT_TRUE(s.count("Good one") && s.count("Good two"));
    for (const auto& m : c) EXPECT_NE(m->Subject, "not mail");
    EXPECT_TRUE(lastActionsHold("Empty message file")) << lastActionsText();
    EXPECT_TRUE(lastActionsHold("PIPE.EML is not a message file")) << lastActionsText();

    s = openInbox();
    EXPECT_TRUE(s.count("Good one") && s.count("Good two"));
}

TEST_F(StoreTest, CopiedStoreFindsItsRowsAndReadsNothing) {
    setmessagefolder(home_.path() + "Old/Messages");
    std::string a = addMessage("Inbox/", "A.EML", sample("Alpha", "<a@x>"));
    addMessage("Inbox/", "b.eml", sample("Beta", "<b@x>", true));
    openInbox();

    fs::create_directories(home_.path() + "New");
    fs::copy(home_.path() + "Old", home_.path() + "New/Place", fs::copy_options::recursive);
    setmessagefolder(home_.path() + "New/Place/Messages");
    ASSERT_EQ(inbox(), home_.path() + "New/Place/Messages/Inbox/");
    changeSubject(inbox() + "A.EML", "Read again");
    changeSubject(inbox() + "b.eml", "Read again");

    clsCache moved = opened();
    EXPECT_EQ(subjects(moved), (std::set<std::string>{"Alpha", "Beta"}));
    for (const auto& m : moved) EXPECT_TRUE(StartsWith(m->Filename(), inbox())) << m->Filename();
    EXPECT_EQ(readFile(inbox() + "cache.csv").find("/Old/"), std::string::npos);

    // Rows written on another system, with backslashes and the folder in another case.
    writeFile(inbox() + "cache.csv",
              std::string(CacheHeaderLine) +
                  "\r\n0|-|0|-|1|-|f|-|t|-|s|-|2024-03-01 10:00:00|-|0|-|0|-|"
                  "C:\\Corva\\MESSAGES\\Inbox\\A.EML|-|<a@x>|-|From Windows\r\n");
    EXPECT_EQ(openInbox(), (std::set<std::string>{"From Windows", "Read again"}));
}

TEST_F(StoreTest, CacheEntriesFollowMarksAndRemovalsByFileName) {
    std::string a = addMessage("Inbox/", "A.EML", sample("Alpha", "<a@x>"));
    addMessage("Inbox/", "B.EML", sample("Beta", "<b@x>"));
    clsCache c = opened();

    c.MarkMsgReadUnread("  " + LCase(a) + " ", true);
    c.MarkMsgPriority(a, true);
    c.MarkMsgRepliedOrNot(UCase(a), true);
    c.RemoveByFilename(inbox() + "b.eml");
    ASSERT_EQ(c.Count(), 1);
    EXPECT_TRUE(c.Item(1)->Read && c.Item(1)->HighPriority && c.Item(1)->Replied);
    EXPECT_EQ(c.Item(1)->Filename(), inbox() + "a.eml");

    // Only WriteCache and Clear(false) bring the file up to date.
    EXPECT_NE(readFile(inbox() + "cache.csv").find("<b@x>"), std::string::npos);
    c.Clear(false);
    EXPECT_EQ(readFile(inbox() + "cache.csv").find("<b@x>"), std::string::npos);
    EXPECT_FALSE(c.CacheFilled());
    EXPECT_EQ(c.Count(), 0);
    EXPECT_TRUE(c.Path().empty());

    c.fillcache(nullptr, inbox(), "Inbox");
    c.Clear(true);
    EXPECT_FALSE(FileExists(inbox() + "cache.csv"));

    NoCacheFlag = true;
    c.fillcache(nullptr, inbox(), "Inbox");
    EXPECT_EQ(c.Count(), 2);
    EXPECT_FALSE(FileExists(inbox() + "cache.csv"));
    NoCacheFlag = false;
}

TEST_F(StoreTest, NamesThatDifferOnlyInCaseAreTwoMessagesMatchedOnceEach) {
    std::string unread = addMessage("Inbox/", "SAME.EML", sample("Unread one", "<u@x>"));
    std::string read = addMessage("Inbox/", "same.eml", sample("Read one", "<r@x>", true));
    clsCache c = opened();
    ASSERT_EQ(c.Count(), 2);

    changeSubject(unread, "Reread");
    changeSubject(read, "Reread");
    clsCache cached = opened();
    EXPECT_EQ(subjects(cached), (std::set<std::string>{"Unread one", "Read one"}));
    std::set<std::string> files;
    for (const auto& m : cached) files.insert(m->Filename());
    EXPECT_EQ(files, (std::set<std::string>{unread, read}));
}

TEST_F(StoreTest, CacheWrittenOnAnotherSystemOpensWithoutReadingItsFiles) {
    fs::copy_file(dataFile("store/windows-store-read.eml"), inbox() + "windows-store-read.eml");
    fs::copy_file(dataFile("store/windows-store-torn.eml"), inbox() + "WINDOWS-STORE-TORN.EML");
    fs::copy_file(dataFile("store/cache-windows-paths-torn-last-row.csv"), inbox() + "cache.csv");
    fs::copy_file(dataFile("store/lf-only-no-blank-line.eml"), inbox() + "LF-ONLY.EML");

    ResetLastActions();
    clsCache c = opened();
    // The whole row comes from the cache; the torn one and the unknown file are read.
    EXPECT_EQ(subjects(c),
              (std::set<std::string>{"From the cache", "Torn row file", "only LF line ends"}));
    EXPECT_TRUE(lastActionsHold("in readcache")) << lastActionsText();
    for (const auto& m : c) EXPECT_TRUE(StartsWith(m->Filename(), inbox())) << m->Filename();
    EXPECT_EQ(readFile(inbox() + "cache.csv").find("C:\\"), std::string::npos);
}
