// The block and ignore lists: their tests, their files, and changes made
// through two instances at once.
#include "FilterFixture.h"

#include "core/FileSubs.h"
#include "core/Strings.h"
#include "filters/clsAddressList.h"

#include <random>

namespace corva::test {
namespace {

using ListsTest = FilterTest;

TEST_F(ListsTest, ExactAndSubstringTests) {
    filters.BlockSender(" Ann@Example.COM");
    filters.BlockSenderDomain("example.com");
    EXPECT_TRUE(filters.Blocked("ann@example.com"));
    EXPECT_TRUE(filters.Blocked("  ANN@example.com  "));
    EXPECT_FALSE(filters.Blocked("ann@example.co"));
    EXPECT_TRUE(filters.BlockedDomain("bob@mail.EXAMPLE.com"));
    EXPECT_TRUE(filters.BlockedDomain("bob@notexample.com"));
    EXPECT_TRUE(filters.BlockedDomain("example.com.evil.org"));
    EXPECT_FALSE(filters.BlockedDomain("bob@example.org"));
    EXPECT_FALSE(filters.BlockedDomain(""));
    EXPECT_FALSE(filters.Blocked(""));
}

TEST_F(ListsTest, RefusedChangesLeaveTheListAsItWas) {
    ASSERT_TRUE(filters.BlockSender("a@x.example"));
    ResetLastActions();
    EXPECT_FALSE(filters.BlockSender("A@X.EXAMPLE"));
    EXPECT_FALSE(filters.UnBlockSender("nobody@x.example"));
    EXPECT_EQ(LastActionEntries().size(), 2u);
    EXPECT_EQ(readFile(dir.file("Blocked.txt")), "a@x.example\r\n");

    // Blank texts: the block lists refuse them quietly, the ignore list only
    // through its key, so a blank but not empty entry goes in and then matches
    // a message without a recipient.
    ResetLastActions();
    EXPECT_FALSE(filters.BlockSenderDomain("   "));
    EXPECT_TRUE(LastActionEntries().empty());
    EXPECT_FALSE(filters.IgnoreRecipient(""));
    EXPECT_EQ(LastActionEntries().size(), 1u);
    EXPECT_FALSE(filters.Ignore(""));
    EXPECT_TRUE(filters.IgnoreRecipient("  "));
    EXPECT_TRUE(filters.Ignore(""));
    frmFilters other(dir.path());
    other.ReloadLists();
    EXPECT_TRUE(other.Ignore(""));
}

TEST_F(ListsTest, AFileWithBlankAndRepeatedLinesLoadsTheRest) {
    writeFile(dir.file("BlockedDomains.txt"),
              "Casino.Example\r\n\r\ncasino.example\nloans.example");
    ResetLastActions();
    filters.ReloadLists();
    EXPECT_EQ(filters.BlockedDomainList().Items(),
              (std::vector<std::string>{"casino.example", "loans.example"}));
    EXPECT_EQ(LastActionEntries().size(), 2u);
    EXPECT_TRUE(filters.BlockedDomain("x@LOANS.example"));
}

TEST_F(ListsTest, AChangeThroughOneInstanceSurvivesOneThroughTheOther) {
    frmFilters local(dir.path());
    filters.ReloadFilters(false);
    local.ReloadFilters(true);
    filters.BlockSender("a@x.example");
    local.BlockSender("b@x.example");
    filters.UnBlockSender("A@X.example"); // found without regard to case
    EXPECT_EQ(readFile(dir.file("Blocked.txt")), "b@x.example\r\n");
    EXPECT_TRUE(filters.Blocked("b@x.example"));
}

// Many entries and many addresses against a plain walk over the entries.
TEST(AddressListIndex, AnswersAsAWalkOverTheEntries) {
    std::mt19937 rng(7);
    const std::string alphabet = "abAB.@-";
    auto randomText = [&](size_t maxLength) {
        std::string s(rng() % (maxLength + 1), ' ');
        for (char& c : s) c = alphabet[rng() % alphabet.size()];
        return s;
    };
    for (int round = 0; round < 20; ++round) {
        clsAddressList exact(clsAddressList::Match::Exact);
        clsAddressList substring(clsAddressList::Match::Substring);
        std::vector<std::string> entries;
        for (int i = 0; i < 40; ++i) {
            std::string e = randomText(5);
            if (rng() % 4 == 0) e = " " + e + " ";
            if (e.empty() || exact.Contains(e)) continue;
            exact.Add(e);
            substring.Add(e);
            entries.push_back(e);
        }
        // Removals must leave the indexes right as well.
        for (size_t i = 0; i < entries.size(); i += 5) {
            exact.Remove(entries[i]);
            substring.Remove(entries[i]);
        }
        for (int i = 0; i < 300; ++i) {
            const std::string address = randomText(8);
            bool walkExact = false, walkSubstring = false;
            for (const std::string& e : exact.Items()) {
                walkExact = walkExact || EqualsNoCase(Trim(e), Trim(address));
                walkSubstring = walkSubstring || InStrNoCase(address, e) != 0;
            }
            if (address.empty()) walkSubstring = false;
            ASSERT_EQ(exact.Test(address), walkExact) << "'" << address << "'";
            ASSERT_EQ(substring.Test(address), walkSubstring) << "'" << address << "'";
        }
    }
}

} // namespace
} // namespace corva::test
