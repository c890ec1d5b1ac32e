// The settings file as users and old versions leave it: hand edits, duplicate
// keys, odd truth values, read-only files and password-safe permissions.
#include "core/cSHAREDSettings.h"
#include "core/mSHAREDLogging.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

using namespace corva;
using corva::test::readFile;
using corva::test::TempDir;
using corva::test::writeFile;

namespace {

// A program folder of its own, and settings loaded from the text given.
class SettingsFile : public ::testing::Test {
protected:
    void SetUp() override { dir.makeProgramFolder(); }
    cSHAREDSettings loaded(const std::string& text) {
        writeFile(ini, text);
        cSHAREDSettings s;
        s.LoadSettings(ini);
        return s;
    }
    static unsigned mode(const std::string& path) {
        struct stat st {};
        return ::stat(path.c_str(), &st) == 0 ? st.st_mode & 0777 : 0;
    }
    TempDir dir;
    const std::string ini = dir.file("Corva.ini");
};

} // namespace

TEST_F(SettingsFile, HandEditedFileLoadsAsUsersExpect) {
    auto s = loaded("B,x\r\nA,B,C\r\nNOCOMMA\r\nFLAG1, TRUE \r\nFLAG2,false\r\nNUM,1\r\n"
                    "DUP,first\r\nDUP,second\r\nLATE,one\r\nOTHER,x\r\nLATE,two\r\nlower,kept\r\n");
    EXPECT_EQ(s.RetrieveSetting("A").toText(), "B,C"); // split at the first comma only
    EXPECT_TRUE(s.RetrieveSetting("NOCOMMA").isEmpty());
    EXPECT_TRUE(s.RetrieveSetting("FLAG1").isBool());
    EXPECT_TRUE(s.RetrieveSetting("FLAG1").toBool());
    EXPECT_TRUE(s.RetrieveSetting("FLAG2").isBool());
    EXPECT_FALSE(s.RetrieveSetting("FLAG2").toBool());
    EXPECT_TRUE(s.RetrieveSetting("NUM").isText());          // "1" stays text
    EXPECT_EQ(s.RetrieveSetting("DUP").toText(), "first");   // neighbours: the first wins
    EXPECT_EQ(s.RetrieveSetting("LATE").toText(), "two");    // apart: the later overwrites
    EXPECT_TRUE(s.RetrieveSetting("lower").isEmpty());       // lower-case keys can't be found
    EXPECT_EQ(s.RetrieveSetting("A,", "d").toText(), "B,C"); // commas in a key are ignored
    for (int i = 2; i <= s.SettingsCount(); ++i)
        EXPECT_LT(s.SettingNameByIndex(i - 1), s.SettingNameByIndex(i));
}

TEST_F(SettingsFile, SavedFileReadsBackEqualAndDropsLinesWithoutComma) {
    auto s = loaded("NOCOMMA\r\nZ,1\r\n");
    s.StoreSetting("delay", 30);
    s.StoreSetting("name", std::string("a, b"));
    s.StoreSetting("flag", true);
    ASSERT_TRUE(s.SaveSettings(ini));
    EXPECT_EQ(readFile(ini), "DELAY, 30 \r\nFLAG,True\r\nNAME,a, b\r\nZ,1\r\n");

    cSHAREDSettings back;
    back.LoadSettings(ini);
    EXPECT_EQ(back.RetrieveSetting("DELAY").toLong(), 30); // blanks around numbers are tolerated
    EXPECT_EQ(back.RetrieveSetting("NAME").toText(), "a, b");
    EXPECT_TRUE(back.RetrieveSetting("FLAG").toBool());
}

TEST_F(SettingsFile, RetrieveWithDefaultTreatsZeroAndFalseAsMissing) {
    cSHAREDSettings s;
    s.StoreSetting("ZERO", 0);
    s.StoreSetting("NO", false);
    s.StoreSetting("TEXTZERO", std::string(" 0 "));
    s.StoreSetting("SET", 5);
    EXPECT_EQ(s.RetrieveWithDefault("ZERO", 7).toLong(), 7);
    EXPECT_EQ(s.RetrieveWithDefault("NO", 7).toLong(), 7);
    EXPECT_EQ(s.RetrieveWithDefault("TEXTZERO", 7).toLong(), 7);
    EXPECT_EQ(s.RetrieveWithDefault("SET", 7).toLong(), 5);
    EXPECT_EQ(s.RetrieveSetting("ZERO", 7).toLong(), 0);
}

// The file holds passwords: every save leaves it owner-only, whatever it was,
// and gets past a read-only mark; a place that can't be written fails the
// save and keeps the copy in memory.
TEST_F(SettingsFile, SavesAreOwnerOnlyGetPastReadOnlyOrFailKeepingTheMemoryCopy) {
    // Unchanged, the file is not written but narrowed all the same.
    auto unchanged = loaded("PWD0,secret\r\n");
    ::chmod(ini.c_str(), 0644);
    ASSERT_TRUE(unchanged.SaveSettings(ini));
    EXPECT_EQ(mode(ini), 0600u);
    auto changed = loaded("A,1\r\n");
    ::chmod(ini.c_str(), 0400);
    changed.StoreSetting("B", std::string("2"));
    ASSERT_TRUE(changed.SaveSettings(ini));
    EXPECT_EQ(readFile(ini), "A,1\r\nB,2\r\n");
    EXPECT_EQ(mode(ini), 0600u);

    cSHAREDSettings s;
    s.StoreSetting("A", 1);
    ASSERT_TRUE(s.SaveSettings(dir.file("New.ini")));
    EXPECT_EQ(mode(dir.file("New.ini")), 0600u);
    // A folder where the file should be can't be opened by anyone, root included.
    writeFile(dir.file("Folder.ini/x"), "");
    EXPECT_FALSE(s.SaveSettings(dir.file("Folder.ini")));
    EXPECT_EQ(s.RetrieveSetting("A").toLong(), 1);
}

TEST_F(SettingsFile, SetsCloseTheirGapsOnDelete) {
    cSHAREDSettings s;
    EXPECT_EQ(s.AddToSet("RECENT", std::string("a")), 1);
    EXPECT_EQ(s.AddToSet("RECENT", std::string("b")), 2);
    EXPECT_EQ(s.AddToSet("RECENT", std::string("c")), 3);
    s.DeleteFromSetByValue("RECENT", " B ");
    EXPECT_EQ(s.LastIndexInSet("RECENT"), 2);
    EXPECT_EQ(s.RetrieveSetting("RECENT_2").toText(), "c");
    EXPECT_EQ(s.SetCount("RECENT"), 2);

    std::string id;
    Variant v;
    std::vector<std::string> seen;
    while (s.ReadFromSet("RECENT", id, v)) seen.push_back(v.toText());
    EXPECT_EQ(seen, (std::vector<std::string>{"a", "c"}));

    // A damaged index is never counted up to: this took minutes when it was.
    s.StoreSetting("RECENT_INDEX", 555555555);
    EXPECT_EQ(s.SetCount("RECENT"), 2);
    id.clear();
    seen.clear();
    while (s.ReadFromSet("RECENT", id, v)) seen.push_back(v.toText());
    EXPECT_EQ(seen, (std::vector<std::string>{"a", "c"}));

    // The number is read after the first underscore: in a name that holds
    // one it reads as 0, so the walk comes back to the first member.
    s.AddToSet("MY_SET", std::string("x"));
    s.AddToSet("MY_SET", std::string("y"));
    id = "MY_SET_1";
    ASSERT_TRUE(s.ReadIDFromSet("MY_SET", id, id));
    EXPECT_EQ(id, "MY_SET_1");
    id = "RECENT_1";
    ASSERT_TRUE(s.ReadIDFromSet("RECENT", id, id));
    EXPECT_EQ(id, "RECENT_2");
}
