// The file, text, address and date helpers whose behaviour the rest leans on.
#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/Variant.h"
#include "core/mSHAREDDelay.h"
#include "core/mSHAREDGeneral.h"
#include "core/modSubs.h"
#include "platform/Platform.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <sys/stat.h>

using namespace corva;
using corva::test::TempDir;
using corva::test::writeFile;

// The text after an in-place helper has run on it.
template <typename Helper> std::string after(std::string s, Helper helper) {
    helper(s);
    return s;
}

TEST(TextHelpers, TrimmingHelpersCutOnlyWhatTheyName) {
    EXPECT_EQ(after("Sat, 1 Jan 2000 -", eatcrapfromend), "Sat, 1 Jan 2000");
    EXPECT_EQ(after("\r\n- -text-", eatcrapfromStart), "text-");
    EXPECT_EQ(after("line\n", RemoveCRLFFromEnd), "line\n"); // a lone LF stays
    EXPECT_EQ(after("a\r\n\r\n", RemoveCRLFFromEnd), "a");
    EXPECT_EQ(after(std::string("Re: h\xe9llo!\0rest", 16), removenonalphanumeric), "Re hllorest");
    EXPECT_EQ(cutoffnull(std::string(" ab \0cd", 7)), " ab ");
    EXPECT_EQ(cutoffnull("\r\nab "), "\r\nab ");
    EXPECT_TRUE(isequal(" Abc ", "aBC"));
    EXPECT_FALSE(isequal(" Abc ", "aBC", false));
    EXPECT_EQ(getquoted("say \"hi there\" now"), "hi there");
}

TEST(TextHelpers, PositionsCountFromOne) {
    EXPECT_EQ(InStr("abcabc", "c"), 3u);
    EXPECT_EQ(InStr("abcabc", "c", 4), 6u);
    EXPECT_EQ(InStr("abc", "x"), 0u);
    EXPECT_EQ(InStrNoCase("Hello World", "WORLD"), 7u);
    EXPECT_EQ(InStrRev("a/b/c", "/"), 4u);
    EXPECT_EQ(Mid("abcdef", 2, 3), "bcd");
    EXPECT_EQ(Mid("abc", 5), "");
    EXPECT_EQ(Replace("aaa", "a", "aa"), "aaaaaa"); // replacements are not rescanned
    EXPECT_EQ(ReplaceNoCase("xAbx", "ab", "-"), "x-x");
    EXPECT_EQ(Split("a,,b", ","), (std::vector<std::string>{"a", "", "b"}));
    EXPECT_EQ(SplitLines("a\r\nb\n\r\nc\r\n"), (std::vector<std::string>{"a", "b", "", "c"}));
    EXPECT_EQ(SplitLines("x\ry"), (std::vector<std::string>{"x\ry"})); // a lone CR ends nothing
    EXPECT_TRUE(SplitLines("").empty());
    EXPECT_DOUBLE_EQ(Val(" 30 "), 30);
    EXPECT_DOUBLE_EQ(Val("12abc"), 12);
    EXPECT_DOUBLE_EQ(Val("abc"), 0);
}

TEST(Values, PrintFormsAndConversions) {
    EXPECT_EQ(Variant(30).printForm(), " 30 ");
    EXPECT_EQ(Variant(-5).printForm(), "-5 ");
    EXPECT_EQ(Variant(0.99).printForm(), " 0.99 ");
    EXPECT_EQ(Variant(true).printForm(), "True");
    EXPECT_EQ(Variant(std::string(" 1 ")).toLong(), 1);
    EXPECT_EQ(Variant(0.5).toLong(), 0); // ties to even
    EXPECT_EQ(Variant(1.5).toLong(), 2);
    EXPECT_EQ(Variant(2.5).toLong(), 2);
    EXPECT_EQ(Variant(0.7).toInt16(), 1);
    EXPECT_THROW(Variant(40000).toInt16(), RunError);
    EXPECT_TRUE(Variant(std::string(" TRUE ")).toBool());
    EXPECT_FALSE(Variant(std::string("yes")).toBool());
}

TEST(Addresses, ExtractEmailAndName) {
    EXPECT_EQ(extractemail("Jo <A@B>"), "a@b");
    EXPECT_EQ(extractemail("  Hello World "), "hello");
    EXPECT_EQ(extractemail("a@x b@y"), "a@x");
    EXPECT_EQ(extractemail("bob @ example.com"), "bob@example.com");
    EXPECT_EQ(extractemail(""), "");
    EXPECT_EQ(extractname("\"Jo O'Neil\" <jo@x>"), "Jo ONeil");
    EXPECT_EQ(extractname("<jo@x>"), "<jo@x>");
}

TEST(FileNames, CleanStringMakesSafeNames) {
    EXPECT_EQ(after("a\\b/c:d", cleanstring), "a b c d");
    EXPECT_EQ(after("CON", cleanstring), "CON1");
    EXPECT_EQ(after(" CON", cleanstring), "CON");
    EXPECT_EQ(after("\"quoted\" 100%", cleanstring), "quoted  100");
}

TEST(FileNames, UnusedNameCarriesReadStateInTheFileNameOnly) {
    TempDir dir;
    std::string folder = dir.path() + "Mixed Case/";
    writeFile(folder + "keep", "");
    std::string first = getunusedfilename(true, folder, "", "eml");
    ASSERT_TRUE(StartsWith(first, folder + "message ("));
    EXPECT_TRUE(EndsWith(first, ") .eml"));
    writeFile(first, "x");
    std::string second = getunusedfilename(false, folder, "", ".eml");
    EXPECT_TRUE(StartsWith(second, folder)); // the folder keeps its case
    EXPECT_EQ(fileonly(second),
              UCase(fileonly(first).substr(0, fileonly(first).size() - 4)) + "1.EML");
    EXPECT_EQ(fileonly(getunusedfilename(true, folder, "Re: (fwd) Offer (2)", "eml")).substr(0, 12),
              "re fwd offer");
}

TEST(FileNames, PathsResolveWithoutRegardToCase) {
    TempDir dir;
    writeFile(dir.path() + "Messages/Inbox/Unread.tag", "1");
    EXPECT_TRUE(FileExists(dir.path() + "messages\\INBOX\\unread.TAG"));
    EXPECT_EQ(ResolvePath(dir.path() + "MESSAGES/inbox/"), dir.path() + "Messages/Inbox/");
    EXPECT_TRUE(FolderExists(dir.path() + "messages/inbox/"));
    EXPECT_FALSE(FileExists(dir.path() + "messages/inbox"));
    EXPECT_EQ(ResolvePath(dir.path() + "messages/New/x.eml"), dir.path() + "Messages/New/x.eml");
    EXPECT_EQ(pathonly("a\\b\\c.txt"), "a/b/");
    EXPECT_EQ(pathonly("c.txt"), "./");
    EXPECT_EQ(fileroot("/x/y/name.tar.gz"), "name.tar");
    EXPECT_EQ(extonly("noext"), "");
}

TEST(FileNames, FillFilesMatchesExtensionsWithoutCase) {
    TempDir dir;
    writeFile(dir.file("a.EML"), "");
    writeFile(dir.file("b.eml"), "");
    writeFile(dir.file("c.qbx"), "");
    writeFile(dir.file("README"), "");
    writeFile(dir.file("sub/d.eml"), "");
    std::vector<std::string> files;
    FillFiles(dir.path(), "*.EML;*.QBX", files);
    std::sort(files.begin(), files.end());
    EXPECT_EQ(files, (std::vector<std::string>{"a.EML", "b.eml", "c.qbx"}));
    files.clear();
    FillFiles(dir.path(), "", files);
    EXPECT_EQ(files, (std::vector<std::string>{"README"}));
    files.clear();
    fillfilesrecursed(dir.path(), "eml", files);
    EXPECT_EQ(files.size(), 3u);
}

TEST(FileNames, CopyKeepsBytesAndDate) {
    TempDir dir;
    std::string bytes(600000, '\0');
    for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<char>(i * 31);
    writeFile(dir.file("src.bin"), bytes);
    SetFileDate(dir.file("src.bin"), DateTime::fromParts(2001, 12, 25, 10, 0, 0));
    ASSERT_TRUE(copyfile(dir.file("src.bin"), dir.file("dst.bin")));
    EXPECT_EQ(test::readFile(dir.file("dst.bin")), bytes);
    EXPECT_EQ(FileDate(dir.file("dst.bin")).format("yyyy-mm-dd hh:nn"), "2001-12-25 10:00");
    EXPECT_FALSE(copyfile(dir.file("missing"), dir.file("x")));
}

namespace {
class CountingLoop : public platform::EventLoop {
public:
    int yields = 0;
    int slept = 0;
    void yield() override { ++yields; }
    void sleepMs(int ms) override { slept += ms; }
    bool runUntil(const std::function<bool()>& done, int) override {
        ++yields;
        return done();
    }
};
class LoopPlatform : public platform::Platform {
public:
    CountingLoop loop;
    platform::EventLoop& eventLoop() override { return loop; }
};
} // namespace

TEST(Waits, MillisecondWaitsYieldOnlyAboveOneSecond) {
    LoopPlatform p;
    platform::ScopedPlatform use(p);
    WaitMs(1000);
    EXPECT_EQ(p.loop.yields, 0);
    EXPECT_EQ(p.loop.slept, 1000);
    WaitMs(1001);
    EXPECT_EQ(p.loop.yields, 2);
    WaitSeconds(0.25f);
    EXPECT_EQ(p.loop.yields, 2);
}

// The writers behind message files and tags: each leaves exactly the new
// text under the name, with no temporary file beside it, and says false when it can't.
TEST(FileWriters, LeaveExactlyTheNewTextOrFail) {
    TempDir dir;
    LoopPlatform p;
    platform::ScopedPlatform use(p);

    // A big text goes in slices with an event pass between them, none after the last.
    std::string big(2 * 1024 * 1024 + 5, '\0');
    for (size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>(i * 7);
    for (Durability d : {Durability::Cached, Durability::Started, Durability::Synced}) {
        const std::string path = dir.file("big.eml");
        p.loop.yields = 0;
        ASSERT_TRUE(WriteFileInSlices(path, big, d, true));
        EXPECT_EQ(test::readFile(path), big);
        EXPECT_EQ(p.loop.yields, 2);
        EXPECT_EQ(std::distance(std::filesystem::directory_iterator(dir.path()), {}), 1);
    }
    EXPECT_FALSE(WriteFileInSlices(dir.file("missing/x.eml"), "x", Durability::Synced, false));

    // Written over in place: a shorter text leaves nothing of the longer one,
    // an empty one empties the file, and a read-only tag is made writable.
    const std::string tag = dir.file("Unread.tag");
    ASSERT_TRUE(WriteFileInPlace(tag, "12345"));
    ASSERT_TRUE(WriteFileInPlace(tag, "7"));
    EXPECT_EQ(test::readFile(tag), "7");
    ASSERT_TRUE(WriteFileInPlace(tag, ""));
    EXPECT_EQ(test::readFile(tag), "");
    ::chmod(tag.c_str(), 0444);
    EXPECT_TRUE(WriteFileInPlace(tag, "3"));
    EXPECT_EQ(test::readFile(tag), "3");
    EXPECT_FALSE(WriteFileInPlace(dir.file("missing/Unread.tag"), "1"));
}

TEST(Dates, FormatsAndParsesTheCommonForms) {
    DateTime d = DateTime::fromParts(2008, 6, 3, 11, 5, 30);
    EXPECT_EQ(d.format("yyyy-mm-dd hh:nn:ss"), "2008-06-03 11:05:30");
    EXPECT_EQ(d.format(" (HHMMSS-YYMMDD) "), " (110530-080603) ");
    EXPECT_EQ(d.format("ddd, d mmm yyyy"), "Tue, 3 Jun 2008");
    // A run too long for its letter is a token and then the rest; minutes follow hours.
    EXPECT_EQ(d.format("yyy mmmmm dddd h:m \\h AM/PM"), "08y June6 Tuesday 11:5 h AM");
    EXPECT_EQ(DateTime::fromParts(12345, 7, 8, 23, 4, 5).format("yyyy yy s"), "12345 45 5");
    auto parsed = ParseDate("Tue, 3 Jun 2008 11:05:30 +0200");
    ASSERT_TRUE(parsed);
    EXPECT_EQ(parsed->format("yyyy-mm-dd hh:nn:ss"), "2008-06-03 11:05:30");
    ASSERT_TRUE(ParseDate("2008-06-03 11:05:30"));
    EXPECT_EQ(ParseDate("2008-06-03 11:05:30")->serial(), d.serial());
    EXPECT_FALSE(ParseDate("no date here"));
    EXPECT_EQ(DateTime::fromParts(2000, 3, 1).addDays(-1).day(), 29);
}
