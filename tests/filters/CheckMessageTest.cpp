// The ladder of the message check: lists before rules, rules stacking in
// order, the score, and the size limit.
#include "FilterFixture.h"

#include "core/Strings.h"
#include "filters/modBlockCommands.h"

#include <cstdio>
#include <functional>

namespace corva::test {
namespace {

using CheckMessageTest = FilterTest;

TEST_F(CheckMessageTest, IgnoreAndAccountSuppressionBeatTheBlockLists) {
    filters.BlockSender("spam@bad.example");
    filters.IgnoreRecipient("old@me.example");
    clsMessage msg = check(headerMessage("Spam <spam@bad.example>", "old@me.example", "hi"));
    EXPECT_EQ(msg.Colour, ColourLeftAlone);
    EXPECT_TRUE(msg.Ignored);
    EXPECT_FALSE(msg.Deleted);
    EXPECT_EQ(verdictword(msg), "IGNORE");

    // An account that takes only mail to "me@" leaves everything else alone.
    sset("EXCLUSIVE0_2", "ME@");
    clsMessage other = headerMessage("spam@bad.example", "you@me.example", "hi");
    other.FromAccount = 2;
    other = check(other);
    EXPECT_TRUE(other.Ignored);
    EXPECT_FALSE(other.Deleted);
    clsMessage mine = headerMessage("spam@bad.example", "you@me.example", "hi");
    mine.FromAccount = 2;
    mine.CC = "me@me.example";
    mine = check(mine);
    EXPECT_EQ(verdictword(mine), "BLOCK");
    clsMessage elsewhere = headerMessage("a@b.example", "you@me.example", "hi");
    elsewhere.FromAccount = 3; // the setting belongs to account 2 only
    EXPECT_FALSE(check(elsewhere).Ignored);
}

TEST_F(CheckMessageTest, EachBlockListBeatsAPassRuleWithStop) {
    add(makeFilter("Always pass", {{"Subject:", "cnt", "hello"}}, 3, true));
    struct Case {
        std::function<void()> block;
        std::string reason;
        bool bySender;
    };
    const Case cases[] = {
        {[&] { filters.BlockSender("Ann@Bad.Example"); }, "Sender Blocked", true},
        {[&] { filters.BlockSenderDomain("bad.example"); }, "Domain Blocked", true},
        {[&] { filters.BlockRecipDomain("me.example"); }, "Recip Domain Blocked", false},
        {[&] { filters.BlockRecip("bob@me.example"); }, "bob@me.example Blocked", false},
    };
    for (const Case& c : cases) {
        for (const char* file :
             {"Blocked.txt", "BlockedDomains.txt", "BlockedRecipDomains.txt", "BlockedRecip.txt"})
            std::remove(dir.file(file).c_str());
        filters.ReloadLists();
        c.block();
        clsMessage msg =
            check(headerMessage("Ann <ann@bad.example>", "Bob <BOB@me.example>", "hello"));
        SCOPED_TRACE(c.reason);
        EXPECT_EQ(msg.FilterReason, c.reason);
        EXPECT_TRUE(msg.Deleted);
        EXPECT_EQ(msg.Colour, ColourDelete);
        EXPECT_EQ(msg.BlockedSender, c.bySender);
        EXPECT_EQ(msg.BlockedRecip, !c.bySender);
        EXPECT_EQ(verdictword(msg), "BLOCK");
        EXPECT_EQ(scorer.calls, 0);
    }
}

TEST_F(CheckMessageTest, LaterRulesStackOnEarlierOnes) {
    add(makeFilter("Kill casino", {{"Subject:", "cnt", "casino"}}, 0));
    add(makeFilter("Friends pass", {{"From:", "cnt", "friend.example"}}, 3));
    clsMessage msg = check(headerMessage("pal@friend.example", "me@x.example", "Casino night"));
    EXPECT_FALSE(msg.Deleted);
    EXPECT_EQ(msg.Colour, ColourGood);
    EXPECT_EQ(msg.FilterReason, "Friends pass");
    EXPECT_EQ(verdictword(msg), "PASS");

    // The other way round the delete wins, and shows as a failure, not a block.
    std::swap(filters.Filters()[0], filters.Filters()[1]);
    msg = check(headerMessage("pal@friend.example", "me@x.example", "Casino night"));
    EXPECT_TRUE(msg.Deleted);
    EXPECT_EQ(msg.FilterReason, "Kill casino");
    EXPECT_EQ(verdictword(msg), "FAIL");
}

TEST_F(CheckMessageTest, TwoSuspiciousRulesTagTheSubjectOnce) {
    add(makeFilter("Loans", {{"Subject:", "cnt", "loan"}}, 1));
    add(makeFilter("Cheap", {{"Subject:", "cnt", "cheap"}}, 1));
    clsMessage msg = check(headerMessage("a@b.example", "me@x.example", "Cheap loan"));
    EXPECT_EQ(msg.Subject, "SPAM: Cheap loan");
    EXPECT_TRUE(msg.Suspicious);
    EXPECT_EQ(msg.Colour, ColourSuspicious);
    EXPECT_EQ(msg.FilterReason, "Cheap");
    EXPECT_NE(InStr(msg.RawMessage(), "Subject: SPAM: "), 0u);
    EXPECT_EQ(verdictword(msg), "SPAM?");

    // The tag is case exact: a subject already saying "spam:" still gets one.
    msg = check(headerMessage("a@b.example", "me@x.example", "spam: cheap"));
    EXPECT_EQ(msg.Subject, "SPAM: spam: cheap");
}

// Whether one filter fires on a header: every condition must hold, an empty
// field contains nothing, only the subject is cleaned of disguises, the
// reserved "mtch" changes nothing, and an unknown field tests the previous text.
TEST_F(CheckMessageTest, ConditionsDecideWhetherAFilterFires) {
    const struct {
        std::initializer_list<Condition> conditions;
        const char *from, *to, *subject;
        bool fires;
    } cases[] = {
        {{{"CC:", "!cnt", "x"}}, "a@b.org", "me@x.org", "plain", true},
        {{{"CC:", "cnt", ""}}, "a@b.org", "me@x.org", "plain", false},
        {{{"SUBJECT:", "CNT", "VIAGRA"}}, "a@b.org", "me@x.org", "Buy V.i.a.g.r.a now", true},
        {{{"SUBJECT:", "CNT", "VIAGRA"}}, "a@b.org", "me@x.org", "cheap v1agr@", true},
        {{{"SUBJECT:", "CNT", "VIAGRA"}}, "a@b.org", "me@x.org", "vi agra", false},
        {{{"From:", "CNT", "VIAGRA"}}, "v.i.a.g.r.a@b.org", "me@x.org", "x", false},
        // "Doesn't Contain" on the subject holds only if neither form has the text.
        {{{"Subject:", "!cnt", "viagra"}}, "a@b.org", "me@x.org", "v1agr@", false},
        {{{"Subject:", "!cnt", "viagra"}}, "a@b.org", "me@x.org", "hello", true},
        {{{"From:", "cnt", "ann"}, {"To:", "cnt", "bob"}}, "ann@x.org", "bob@y.org", "s", true},
        {{{"From:", "cnt", "ann"}, {"To:", "cnt", "bob"}}, "ann@x.org", "eve@y.org", "s", false},
        {{{"From:", "cnt", "ann"}, {"To:", "cnt", "bob"}}, "eve@x.org", "bob@y.org", "s", false},
        {{}, "ann@x.org", "bob@y.org", "s", false},
        {{{"From:", "mtch", "3"}}, "ann@x.org", "bob@y.org", "s", false},
        {{{"From:", "cnt", "ann"}, {"Subject:", "mtch", "3"}}, "ann@x.org", "bob@y.org", "s", true},
        {{{"From:", "cnt", "ann"}, {"Frm:", "cnt", "x.org"}}, "ann@x.org", "bob@y.org", "s", true},
        {{{"From:", "cnt", "ann"}, {"Frm:", "cnt", "x.org"}}, "ann@z.org", "bob@x.org", "s", false},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(std::string(c.from) + " / " + c.subject);
        filters.Filters().clear();
        add(makeFilter("F", c.conditions, 0));
        EXPECT_EQ(check(headerMessage(c.from, c.to, c.subject)).Deleted, c.fires);
    }

    // An unknown field goes on testing across filters too, and before any field
    // the text is empty.
    filters.Filters().clear();
    add(makeFilter("Unknown first", {{"Nothing:", "!cnt", "a"}}, 2, false, "First"));
    add(makeFilter("Reads To", {{"To:", "cnt", "nomatch"}}, 0));
    add(makeFilter("Unknown after", {{"Nothing:", "cnt", "bob"}}, 1));
    clsMessage msg = check(headerMessage("ann@x.example", "bob@y.example", "s"), false);
    EXPECT_EQ(msg.DestFolder, "First");
    EXPECT_TRUE(msg.Suspicious);
    EXPECT_EQ(msg.FilterReason, "Unknown after");
}

TEST_F(CheckMessageTest, StopProcessingOnlyWhenTheFilterFires) {
    add(makeFilter("Stop here", {{"Subject:", "cnt", "invoice"}}, 3, true));
    add(makeFilter("Later", {{"Subject:", "cnt", "a"}}, 0));
    scorer.score = 0.995f;

    clsMessage msg = check(headerMessage("a@b.example", "me@x.example", "invoice a"));
    EXPECT_FALSE(msg.Deleted);
    EXPECT_EQ(msg.FilterReason, "Stop here");
    EXPECT_EQ(msg.Bayes, 0.0f);
    EXPECT_EQ(scorer.calls, 0);

    msg = check(headerMessage("a@b.example", "me@x.example", "a bill"));
    EXPECT_TRUE(msg.Deleted);
    EXPECT_EQ(msg.FilterReason, "Later");
    EXPECT_EQ(scorer.calls, 1);
    EXPECT_EQ(msg.Bayes, 0.995f);
}

TEST_F(CheckMessageTest, TheScoreAndItsThresholds) {
    setThresholds(0.98f, 0.7f);
    scorer.score = 0.98f;
    clsMessage msg = check(headerMessage("a@b.example", "me@x.example", "s"));
    EXPECT_EQ(msg.FilterReason, "Bayes: 0.98");
    EXPECT_EQ(msg.Colour, ColourDelete);
    EXPECT_TRUE(msg.Deleted);
    EXPECT_EQ(verdictword(msg), "FAIL");

    // A whole message is moved rather than deleted.
    clsMessage whole;
    whole.CreateFromText("From: a@b.example\r\nSubject: s\r\n\r\nbody\r\n", false);
    whole = check(whole);
    EXPECT_FALSE(whole.Deleted);
    EXPECT_EQ(whole.DestFolder, "\\SpamBayes\\");

    scorer.score = 0.97f;
    msg = check(headerMessage("a@b.example", "me@x.example", "s"));
    EXPECT_TRUE(msg.Suspicious);
    EXPECT_EQ(msg.Colour, ColourSuspicious);
    EXPECT_EQ(msg.DestFolder, "\\SpamBayes\\");
    EXPECT_FALSE(msg.Deleted);

    // Without the score: Bayes 0 and no reason of its own.
    msg = check(headerMessage("a@b.example", "me@x.example", "s"), false);
    EXPECT_EQ(msg.Bayes, 0.0f);
    EXPECT_EQ(msg.FilterReason, "");
    EXPECT_EQ(verdictword(msg), "PASS");
}

TEST_F(CheckMessageTest, TheScoreOverridesRulesThatDidNotStop) {
    setThresholds(0.99f, 0.7f);
    scorer.score = 0.8f;
    add(makeFilter("Delete", {{"Subject:", "cnt", "s"}}, 0));
    add(makeFilter("Move", {{"Subject:", "cnt", "s"}}, 2, false, "Lists"));
    clsMessage msg = check(headerMessage("a@b.example", "me@x.example", "s"));
    EXPECT_TRUE(msg.Deleted);
    EXPECT_EQ(msg.Colour, ColourSuspicious);
    EXPECT_EQ(msg.FilterReason, "Move");
    EXPECT_EQ(msg.DestFolder, "\\SpamBayes\\");

    // A folder rule keeps its folder when the score doesn't run.
    filters.Filters().erase(filters.Filters().begin());
    msg = check(headerMessage("a@b.example", "me@x.example", "s"), false);
    EXPECT_EQ(msg.DestFolder, "Lists");
    scorer.score = 0.01f;
    msg = check(headerMessage("a@b.example", "me@x.example", "s"));
    EXPECT_EQ(msg.DestFolder, "");
}

TEST_F(CheckMessageTest, TheSizeLimit) {
    sset("MaxMailSize", 100);
    clsMessage msg = headerMessage("a@b.example", "me@x.example", "s");
    msg.Size = 100;
    EXPECT_FALSE(check(msg).Ignored);
    msg.Size = 101;
    clsMessage big = check(msg);
    EXPECT_TRUE(big.Ignored);
    EXPECT_EQ(big.Colour, ColourLeftAlone);
    EXPECT_EQ(big.FilterReason, "Over 100Kb");
    EXPECT_FALSE(big.Deleted);

    // A delete rule that ends the loop keeps its verdict; a pass rule doesn't.
    add(makeFilter("Pass", {{"Subject:", "cnt", "s"}}, 3, true));
    EXPECT_TRUE(check(msg).Ignored);
    add(makeFilter("Delete", {{"Subject:", "cnt", "s"}}, 0));
    std::swap(filters.Filters()[0], filters.Filters()[1]);
    filters.Filters()[0].StopProcessing = true;
    big = check(msg);
    EXPECT_TRUE(big.Deleted);
    EXPECT_EQ(big.Colour, ColourDelete);
    EXPECT_FALSE(big.Ignored);

    sset("MaxMailSize", 0);
    filters.Filters().clear();
    msg.Size = 100000;
    EXPECT_FALSE(check(msg).Ignored);
}

TEST_F(CheckMessageTest, AFilterCountingPastFourConditionsStillGetsAVerdict) {
    clsFilterNew f = makeFilter("Five", {{"From:", "cnt", "ann"}}, 0);
    f.RuleCount = 5;
    add(f);
    ResetLastActions();
    clsMessage msg = check(headerMessage("ann@x.example", "bob@y.example", "s"));
    EXPECT_TRUE(msg.Deleted);
    EXPECT_FALSE(LastActionEntries().empty());
}

TEST_F(CheckMessageTest, WithoutAScorerTheDefaultAnswersAsWithNoWordTable) {
    frmFilters plain(dir.path());
    clsMessage msg = headerMessage("a@b.example", "me@x.example", "P.H.A.R.M.A deals");
    plain.CheckMessage(msg, true);
    EXPECT_EQ(msg.Bayes, 0.99f);
    EXPECT_EQ(msg.FilterReason, "Blacklisted Subject - PHARMA");
    EXPECT_TRUE(msg.Deleted);
    msg = headerMessage("a@b.example", "me@x.example", "pharma deals");
    plain.CheckMessage(msg, true);
    EXPECT_EQ(msg.Bayes, 0.01f);
    EXPECT_EQ(msg.FilterReason, "Bayes: 0.01");
}

} // namespace
} // namespace corva::test
