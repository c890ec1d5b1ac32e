// Rules files: what is written, what is read back, and what odd hand-written
// files turn into.
#include "FilterFixture.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"

namespace corva::test {
namespace {

using RulesFileTest = FilterTest;

TEST_F(RulesFileTest, WritesEachFilterAsItsRunOfLines) {
    add(makeFilter("Casino, poker", {{"Subject:", "cnt", "casino"}, {"From:", "!cnt", "friend"}}, 2,
                   true, "Lists\\Games"));
    add(makeFilter("Private one", {}, 3));
    filters.Filters()[1].Category = 1;
    ASSERT_TRUE(filters.savefilters(dir.file("Rules.txt"), false));
    EXPECT_EQ(readFile(dir.file("Rules.txt")), "Filtername, Casino, poker\r\n"
                                               "FilterField, Subject:\r\n"
                                               "FilterComparison, cnt\r\n"
                                               "FilterString, casino\r\n"
                                               "FilterField, From:\r\n"
                                               "FilterComparison, !cnt\r\n"
                                               "FilterString, friend\r\n"
                                               "FilterAction, 2\r\n"
                                               "FilterDest, Lists\\Games\r\n"
                                               "FilterStop, -1\r\n"
                                               "Filter_Category, 0\r\n"
                                               "Filtername, Private one\r\n"
                                               "FilterAction, 3\r\n"
                                               "FilterDest, \r\n"
                                               "FilterStop, 0\r\n"
                                               "Filter_Category, 1\r\n");

    ASSERT_TRUE(filters.savefilters(dir.file("Shared.txt"), true));
    FilterCollection shared;
    frmFilters::LoadFilters(shared, dir.file("Shared.txt"), true);
    ASSERT_EQ(shared.size(), 1u);
    // The name is cut at its ", " on the way back: only the editor guards names.
    EXPECT_EQ(shared[0].FilterName, "Casino");
    EXPECT_EQ(shared[0].RuleCount, 2);
    EXPECT_EQ(shared[0].Comparisons(2), "!cnt");
    EXPECT_EQ(shared[0].Strings(2), "friend");
    EXPECT_EQ(shared[0].DestFolder, "Lists\\Games");
    EXPECT_TRUE(shared[0].StopProcessing);
    EXPECT_EQ(shared[0].Action, 2);
}

TEST_F(RulesFileTest, AnOddHandWrittenFileLoadsWhatItCan) {
    ResetLastActions();
    FilterCollection plain;
    frmFilters::LoadFilters(plain, dataFile("filters/odd-lines-rules.txt"), true);
    ASSERT_EQ(plain.size(), 4u);

    EXPECT_EQ(plain[0].FilterName, "Casino");
    EXPECT_EQ(plain[0].RuleCount, 1);
    EXPECT_EQ(plain[0].Strings(1), "casino");

    const clsFilterNew& five = plain[1];
    EXPECT_EQ(five.FilterName, "Five conditions");
    EXPECT_EQ(five.RuleCount, 5);
    EXPECT_EQ(five.Fields(4), "BCC:");
    EXPECT_EQ(five.Strings(4), "d");
    EXPECT_THROW(five.Fields(5), RunError);
    EXPECT_EQ(five.Action, 3);
    EXPECT_EQ(five.DestFolder, "");
    EXPECT_TRUE(five.StopProcessing);
    EXPECT_EQ(five.Category, 1);

    EXPECT_EQ(plain[2].FilterName, "Casino");
    EXPECT_EQ(plain[2].DestFolder, "Lists\\Casino");
    EXPECT_FALSE(plain[2].StopProcessing);

    EXPECT_EQ(plain[3].FilterName, "Trailing name");
    EXPECT_EQ(plain[3].RuleCount, 0);
    EXPECT_EQ(plain[3].Action, 0);

    // The stray field line, the fifth comparison and string, the bare
    // FilterDest and the stop that isn't a number are each reported.
    EXPECT_GE(LastActionEntries().size(), 5u);

    // Saving the five-condition filter writes the four it holds.
    filters.Filters() = plain;
    ASSERT_TRUE(filters.savefilters(dir.file("again.txt"), false));
    FilterCollection again;
    frmFilters::LoadFilters(again, dir.file("again.txt"), true);
    ASSERT_EQ(again.size(), 4u);
    EXPECT_EQ(again[1].RuleCount, 4);
}

TEST_F(RulesFileTest, MergingKeepsWhatIsThereAndMissingFilesChangeNothing) {
    FilterCollection filterSet;
    filterSet.push_back(makeFilter("Casino", {}, 3));
    frmFilters::LoadFilters(filterSet, dataFile("filters/odd-lines-rules.txt"), false);
    ASSERT_EQ(filterSet.size(), 3u);
    EXPECT_EQ(filterSet[0].Action, 3);
    EXPECT_EQ(filterSet[1].FilterName, "Five conditions");

    frmFilters::LoadFilters(filterSet, dir.file("nothing-here.txt"), false);
    EXPECT_EQ(filterSet.size(), 3u);
    frmFilters::LoadFilters(filterSet, dir.file("nothing-here.txt"), true);
    EXPECT_TRUE(filterSet.empty());
}

} // namespace
} // namespace corva::test
