// The scanner's block and ignore commands on a message, and the filter
// editor's commands on a collection.
#include "FilterFixture.h"

#include "core/FileSubs.h"
#include "filters/modBlockCommands.h"
#include "filters/modRuleManagement.h"

namespace corva::test {
namespace {

using BlockCommandsTest = FilterTest;

TEST_F(BlockCommandsTest, EachCommandRechecksTheMessage) {
    clsMessage msg = headerMessage("Ann <Ann@Casino.Example>", "Me <me@home.example>", "hi");
    blockorunblock(filters, msg, false);
    EXPECT_EQ(verdictword(msg), "BLOCK");
    EXPECT_EQ(readFile(dir.file("Blocked.txt")), "ann@casino.example\r\n");
    blockorunblock(filters, msg, true);
    EXPECT_EQ(verdictword(msg), "PASS");

    blockorunblockDomain(filters, msg, false);
    EXPECT_EQ(msg.FilterReason, "Domain Blocked");
    EXPECT_EQ(readFile(dir.file("BlockedDomains.txt")), "casino.example\r\n");
    blockorunblockDomain(filters, msg, true);

    blockorunblockRecipDomain(filters, msg, false);
    EXPECT_EQ(msg.FilterReason, "Recip Domain Blocked");
    blockorunblockRecipDomain(filters, msg, true);
    blockorunblockrecip(filters, msg, false);
    EXPECT_EQ(msg.FilterReason, "me@home.example Blocked");
    blockorunblockrecip(filters, msg, true);

    ignoreornot(filters, msg, false);
    EXPECT_EQ(verdictword(msg), "IGNORE");
    ignoreornot(filters, msg, true);
    EXPECT_EQ(verdictword(msg), "PASS");
    EXPECT_FALSE(FileExists(dir.file("Ignore.txt")));

    // Without a domain there is nothing to block.
    msg = headerMessage("postmaster", "undisclosed-recipients:;", "hi");
    blockorunblockDomain(filters, msg, false);
    blockorunblockRecipDomain(filters, msg, false);
    EXPECT_FALSE(FileExists(dir.file("BlockedDomains.txt")));
    EXPECT_FALSE(FileExists(dir.file("BlockedRecipDomains.txt")));
    EXPECT_EQ(addressdomain("a@ b.example@c"), "b.example@c");
    EXPECT_EQ(addressdomain("a@"), "");
}

FilterForm formFor(const std::string& name, std::initializer_list<FilterForm::Row> rows) {
    FilterForm form;
    form.name = name;
    size_t i = 0;
    for (const FilterForm::Row& r : rows) form.rows[i++] = r;
    return form;
}

TEST(RuleManagement, StoringTheForm) {
    FilterCollection set;
    FormResult r = storefilterfromform(set, formFor("", {}));
    EXPECT_FALSE(r.stored);
    EXPECT_EQ(r.messages, std::vector<std::string>{"Please supply a name for this filter"});

    r = storefilterfromform(set,
                            formFor("Ticked", {{true, "From:", 0, "a"}, {true, "To:", 0, ""}}));
    EXPECT_FALSE(r.stored);
    EXPECT_EQ(r.messages.at(0), "Rule 2 doesn't have anything in the text field. Please "
                                "deselect this rule, or enter some text.");
    EXPECT_TRUE(set.empty());

    // Unticked rows leave no gap, and a comma can't reach the file.
    FilterForm form = formFor("Loans, cheap", {{false, "From:", 0, "x"},
                                               {true, "Subject:", 1, "loan"},
                                               {false, "", 0, ""},
                                               {true, "To:", 0, "me"}});
    form.actionIndex = 2;
    form.mailFolder = "Lists";
    form.category = 1;
    r = storefilterfromform(set, form);
    ASSERT_TRUE(r.stored);
    ASSERT_EQ(set.size(), 1u);
    EXPECT_EQ(set[0].FilterName, "Loans  cheap");
    EXPECT_EQ(set[0].RuleCount, 2);
    EXPECT_EQ(set[0].Fields(1), "Subject:");
    EXPECT_EQ(set[0].Comparisons(1), "!cnt");
    EXPECT_EQ(set[0].Fields(2), "To:");
    EXPECT_EQ(set[0].DestFolder, "Lists");

    // Saving again under that name changes the same filter; a folder only
    // goes with action 2, and no ticked row makes a filter that never fires.
    form.name = "Loans  cheap";
    form.actionIndex = 0;
    for (auto& row : form.rows) row.on = false;
    r = storefilterfromform(set, form);
    ASSERT_EQ(set.size(), 1u);
    EXPECT_EQ(r.index, 1);
    EXPECT_EQ(set[0].RuleCount, 0);
    EXPECT_EQ(set[0].DestFolder, "");

    // The reserved count of matches wants a number, but doesn't stop the save.
    r = storefilterfromform(set, formFor("Count", {{true, "From:", 2, "many"}}));
    EXPECT_TRUE(r.stored);
    EXPECT_EQ(r.messages, std::vector<std::string>{"Please specify a number from 1 to 10"});
    EXPECT_EQ(set[1].Comparisons(1), "mtch");
}

TEST(RuleManagement, MovingFindingDeletingAndCopying) {
    FilterCollection set;
    for (const char* name : {"One", "Two", "Three", "Four"}) set.push_back(makeFilter(name, {}, 0));
    // The editor's moves are tested through it; a position out of range moves nothing.
    EXPECT_EQ(movefilterfromto(set, 9, 1), 0);

    EXPECT_EQ(searchstring(set, "O", 1), 1);
    EXPECT_EQ(searchstring(set, "o", 2), 2);
    EXPECT_EQ(searchstring(set, "o", 3), 4);
    EXPECT_EQ(searchstring(set, "five", 1), 0);

    EXPECT_EQ(deletefilter(set, "Four"), 3);
    EXPECT_EQ(deletefilter(set, "Four"), 0);
    EXPECT_EQ(copyfiltername("Two"), "Copy of Two");
    EXPECT_EQ(copyfiltername("Two", 9), "Copy of T");
}

TEST(RuleManagement, AFilterProposedFromAMessage) {
    clsMessage msg =
        headerMessage("a@b.example", "me@x.example", "Cheap  v.i.a.g.r.a: now today extra");
    FilterForm form = createfilterfrommessage(msg);
    EXPECT_EQ(form.name, "Cheap  v.i.a.g.r.a: now today extra");
    EXPECT_TRUE(form.rows[0].on);
    EXPECT_EQ(form.rows[0].field, "Subject:");
    EXPECT_EQ(form.rows[0].text, "Cheap");
    // The double blank gives an empty word: the form refuses it until it is fixed.
    EXPECT_TRUE(form.rows[1].on);
    EXPECT_EQ(form.rows[1].text, "");
    EXPECT_EQ(form.rows[3].text, "now");
    FilterCollection set;
    EXPECT_FALSE(storefilterfromform(set, form).stored);

    form = createfilterfrommessage(headerMessage("a@b.example", "me@x.example", ""));
    EXPECT_EQ(form.name, "");
    EXPECT_FALSE(form.rows[0].on);
    EXPECT_FALSE(storefilterfromform(set, form).stored);
}

} // namespace
} // namespace corva::test
