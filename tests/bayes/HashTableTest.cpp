// The word table: lookups, growth, the free list, deletion by hash value and
// the .dat files.
#include "bayes/WordIndex.h"
#include "bayes/clsHashTable.h"

#include "core/mSHAREDLogging.h"
#include "support/LastActions.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <charconv>
#include <map>
#include <string>
#include <vector>

using namespace corva;
using namespace std::string_literals;
using corva::test::TempDir;

namespace {

// Two keys that the table stores under the same hash value.
std::pair<std::string, std::string> collidingKeys(clsHashTable& table) {
    std::map<int32_t, std::string> seen;
    for (int i = 0;; ++i) {
        std::string key = "key" + std::to_string(i);
        auto [it, fresh] = seen.emplace(table.HashValueOf(key), key);
        if (!fresh) return {it->second, key};
    }
}

} // namespace

TEST(HashTable, AlterValueCountsResetsAndBottomsOut) {
    clsHashTable table;
    table.InitSmall();
    table.Insert("SUB*Hello");
    table.Insert("SUB*Hello");
    EXPECT_EQ(table.HashFind("SUB*Hello").Value, 2.0f);
    EXPECT_EQ(table.HashFind("SUB*hello").Index, 0) << "keys compare with case";
    table.AlterValue("SUB*Hello", 0);
    EXPECT_EQ(table.HashFind("SUB*Hello").Value, 1.0f) << "a zero delta sets 1";
    table.AlterValue("SUB*Hello", -5);
    clsHashRec rec = table.HashFind("SUB*Hello");
    EXPECT_EQ(rec.Value, 0.0f);
    EXPECT_NE(rec.Index, 0) << "bottoming out doesn't delete";
    table.AlterValue("new", 7);
    EXPECT_EQ(table.HashFind("new").Value, 1.0f) << "a new key starts at 1 whatever the delta";
}

TEST(HashTable, SmallTableGrowsByHalfKeepingEveryNode) {
    clsHashTable table;
    table.InitSmall();
    for (int i = 1; i <= 501; ++i) table.InsertRecord("k" + std::to_string(i), float(i));
    EXPECT_EQ(table.Size, 750);
    EXPECT_EQ(table.MaxIndex, 501);
    for (int i = 1; i <= 501; ++i)
        ASSERT_EQ(table.HashFind("k" + std::to_string(i)).Value, float(i)) << i;
    for (int i = 502; i <= 1126; ++i) table.InsertRecord("k" + std::to_string(i), 1);
    EXPECT_EQ(table.Size, 1688) << "1125 * 1.5 = 1687.5 rounds to even";
}

TEST(HashTable, DeleteTakesTheNewestNodeOfAHashValueAndReusesIt) {
    clsHashTable table;
    table.InitSmall();
    auto [older, newer] = collidingKeys(table);
    table.Insert("other");
    table.Insert(older);
    table.Insert(newer);
    int32_t newerIndex = table.RecIndex(newer);
    ASSERT_TRUE(table.HashDelete(older)) << "deletes by hash value, not by key";
    EXPECT_EQ(table.RecIndex(newer), 0);
    EXPECT_NE(table.RecIndex(older), 0);
    EXPECT_EQ(table.RecString(newerIndex), "");
    EXPECT_EQ(table.RecValue(newerIndex), 0.0f);
    EXPECT_EQ(table.MaxIndex, 3) << "MaxIndex doesn't shrink";
    table.Insert("fresh");
    EXPECT_EQ(table.RecIndex("fresh"), newerIndex) << "a freed node is handed out first";
    EXPECT_EQ(table.MaxIndex, 3);
}

TEST(HashTable, MissesAndAbsentDeletesAreReported) {
    clsHashTable fresh;
    clsHashRec rec = fresh.HashFind("anything"); // a table never set up sets itself up
    EXPECT_EQ(rec.Value, -1.0f);
    EXPECT_EQ(rec.Key, "-1");
    EXPECT_EQ(rec.Index, 0);

    ResetLastActions();
    clsHashTable table;
    table.InitSmall();
    EXPECT_FALSE(table.Delete(table.HashValueOf("missing")));
    EXPECT_TRUE(corva::test::lastActionsHold("Key not found: CHash.Delete"));
    EXPECT_TRUE(corva::test::lastActionsHold("clsHashTable"));
}

TEST(HashTable, FileRoundTripKeepsValuesKeysAndCount) {
    TempDir dir;
    clsHashTable table;
    table.InitSmall();
    table.Count = 42;
    table.InsertRecord("SUB*cheap meds, now", 0.94f);
    table.InsertRecord("FRM*a@b.c", 3);
    table.InsertRecord("tiny", 0.01f);
    table.InsertRecord("counted", 123456);
    table.InsertRecord("HDR*boundary=\"xyz\"", 5);
    table.InsertRecord("HDR*BOUNDARY=x", 5);
    table.InsertRecord("gone", 1);
    table.HashDelete("gone");
    ASSERT_TRUE(table.WriteHashTable(dir.file("t.dat")));
    std::string text = corva::test::readFile(dir.file("t.dat"));
    EXPECT_EQ(text.substr(0, 20), "Count, String\r\n 42 \r");
    EXPECT_NE(text.find("0.94, SUB*cheap meds, now\r\n"), std::string::npos);
    EXPECT_NE(text.find("\r\n3, FRM*a@b.c\r\n"), std::string::npos);
    EXPECT_EQ(text.find("oundary"), std::string::npos) << "boundary keys stay in memory only";
    EXPECT_EQ(text.find("gone"), std::string::npos);

    clsHashTable back;
    ASSERT_TRUE(back.LoadTable(dir.file("t.dat")));
    EXPECT_EQ(back.Count, 42);
    EXPECT_EQ(back.HashFind("SUB*cheap meds, now").Value, 0.94f);
    EXPECT_EQ(back.HashFind("FRM*a@b.c").Value, 3.0f);
    EXPECT_EQ(back.HashFind("tiny").Value, 0.01f);
    EXPECT_EQ(back.HashFind("counted").Value, 123456.0f);
    EXPECT_EQ(back.HashFind("HDR*BOUNDARY=x").Index, 0);
    EXPECT_EQ(back.MaxIndex, 4);
}

// Whole counts and hundredths are written from ready texts and plain decimals
// read directly: both must give what the general conversions give.
TEST(HashTable, NumbersWrittenAndReadAsTheGeneralConversions) {
    TempDir dir;
    clsHashTable table;
    table.InitSmall();
    const std::vector<float> values = {0.0f, 0.01f,       0.07f,       0.35f,  0.99f,
                                       1.0f, 3.0f,        123456.0f,   0.005f, 0.1f + 0.2f,
                                       1.5f, 16777216.0f, 33554432.0f, -2.0f,  1e-7f};
    for (size_t i = 0; i < values.size(); ++i)
        table.InsertRecord("k" + std::to_string(i), values[i]);
    ASSERT_TRUE(table.WriteHashTable(dir.file("t.dat")));
    const std::string text = corva::test::readFile(dir.file("t.dat"));
    for (size_t i = 0; i < values.size(); ++i) {
        char general[64];
        auto [end, ec] =
            std::to_chars(general, general + sizeof general, values[i], std::chars_format::fixed);
        ASSERT_EQ(ec, std::errc());
        EXPECT_NE(text.find("\n" + std::string(general, end) + ", k" + std::to_string(i) + "\r"),
                  std::string::npos)
            << values[i];
    }
    corva::test::writeFile(dir.file("r.dat"), "Count, String\r\n 1 \r\n0.123456789012345, a\r\n"
                                              "007.50, b\r\n1234567890123456789, c\r\n5., d\r\n");
    clsHashTable back;
    ASSERT_TRUE(back.LoadTable(dir.file("r.dat")));
    EXPECT_EQ(back.HashFind("a").Value, static_cast<float>(0.123456789012345));
    EXPECT_EQ(back.HashFind("b").Value, 7.5f);
    EXPECT_EQ(back.HashFind("c").Value, static_cast<float>(1234567890123456789.0));
    EXPECT_EQ(back.HashFind("d").Value, 5.0f);
}

TEST(HashTable, LoadingAddsNewestFirstReadsACountOfZeroAsOneAndNoFileAsNothing) {
    TempDir dir;
    corva::test::writeFile(dir.file("a.dat"), "Count, String\r\n 1 \r\n0.2, w\r\n");
    corva::test::writeFile(dir.file("b.dat"), "Count, String\r\n 0 \r\n0.8, w\r\n");
    clsHashTable table;
    table.LoadTable(dir.file("a.dat"));
    table.LoadTable(dir.file("b.dat"));
    EXPECT_EQ(table.MaxIndex, 2);
    EXPECT_EQ(table.HashFind("w").Value, 0.8f);
    EXPECT_EQ(table.Count, 1);

    clsHashTable none;
    EXPECT_FALSE(none.LoadTable(dir.file("absent.dat")));
    EXPECT_EQ(none.Size, 0) << "no file, no filters";
}

TEST(HashTable, DamagedFileLoadsWhatItCan) {
    ResetLastActions();
    clsHashTable table;
    ASSERT_TRUE(
        table.LoadTable(corva::test::dataFile("bayes/damaged-lines-load-what-they-can.dat")));
    EXPECT_EQ(table.Count, 1) << "an unreadable count is taken as 1";
    EXPECT_EQ(table.HashFind("plain").Value, 3.0f);
    EXPECT_EQ(table.HashFind("key with blanks , and commas").Value, 0.5f);
    EXPECT_EQ(table.HashFind("padded key").Value, 2.0f);
    EXPECT_EQ(table.HashFind("not a number").Value, 0.0f) << "a value that isn't a number reads 0";
    EXPECT_EQ(table.HashFind("boundary=abc").Value, 0.25f)
        << "such keys load, only saving skips them";
    EXPECT_EQ(table.HashFind("too big for a single").Index, 0);
    EXPECT_EQ(table.HashFind("far too small").Index, 0);
    EXPECT_EQ(table.MaxIndex, 5);
    EXPECT_TRUE(corva::test::lastActionsHold("out of range"));
}

TEST(HashTable, DeletingTheNewestOfTwoNodesUncoversTheOlderThroughGrowth) {
    clsHashTable table;
    table.InitSmall();
    table.InsertRecord("dup", 1);
    table.InsertRecord("dup", 2);
    ASSERT_TRUE(table.HashDelete("dup"));
    for (int i = 0; i < 3000; ++i) table.Insert("filler" + std::to_string(i));
    EXPECT_EQ(table.HashFind("dup").Value, 1.0f) << "the older node is found again";
    for (int i = 0; i < 3000; ++i)
        ASSERT_EQ(table.HashFind("filler" + std::to_string(i)).Value, 1.0f) << i;
    table.AlterValue("dup", 4);
    EXPECT_EQ(table.HashFind("dup").Value, 5.0f);
    EXPECT_EQ(table.HashFind("never").Index, 0);
}

// The score's index over a file finds, for every key, what the loaded table finds.
TEST(HashTable, IndexOfAFileFindsWhatTheLoadedTableFinds) {
    TempDir dir;
    const std::string text = "Count, String\r\n 3 \r\n0.5, dup\r\n1, one\r0.25, dup\n2, a\0b\r\n"
                             "1e40, huge\r\n, \r\n0.75, dup\r\n"s;
    for (const std::string& file :
         {dir.file("odd.dat"),
          corva::test::dataFile("bayes/damaged-lines-load-what-they-can.dat")}) {
        if (file == dir.file("odd.dat")) corva::test::writeFile(file, text);
        clsHashTable table;
        ASSERT_TRUE(table.LoadTable(file));
        ResetLastActions();
        WordIndex index;
        ASSERT_TRUE(index.Load(file));
        EXPECT_TRUE(corva::test::lastActionsHold("out of range")) << file;
        EXPECT_EQ(index.Records(), table.MaxIndex) << file;
        for (int32_t i = 1; i <= table.MaxIndex; ++i) {
            const std::string& key = table.KeyAt(i);
            const float* found = index.Find(key, KeyHash(key));
            ASSERT_NE(found, nullptr) << key;
            EXPECT_EQ(*found, table.HashFind(key).Value) << key;
        }
        EXPECT_EQ(index.Find("a", KeyHash("a")), nullptr) << "a key cut at its NUL is another key";
    }
    WordIndex none;
    EXPECT_FALSE(none.Load(dir.file("missing.dat")));
    EXPECT_EQ(none.Find("dup", KeyHash("dup")), nullptr);
}
