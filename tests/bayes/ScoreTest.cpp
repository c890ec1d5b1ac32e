// The score of one message on word tables built by hand.
#include "BayesFixture.h"

#include "core/Strings.h"

using namespace corva;
using corva::test::BayesTest;

namespace {

std::vector<std::string> words(int n, const std::string& stem = "word") {
    std::vector<std::string> out;
    for (int i = 0; i < n; ++i) out.push_back(stem + char('a' + i / 26) + char('a' + i % 26));
    return out;
}

} // namespace

TEST_F(BayesTest, NoWordTableOrNoHeaderWordsScoresOnePercent) {
    clsMessage msg = headerWords(words(3));
    EXPECT_FLOAT_EQ(scoreOf(msg), 0.01f) << "missing file";
    filter_.ForceRefresh();
    corva::test::writeFile(frmBayesFilter::wordfilename(), "Count, String\r\n 0 \r\n");
    EXPECT_FLOAT_EQ(scoreOf(msg), 0.01f) << "a file with no words";
    corva::HeaderWords = 0;
    filter_.ForceRefresh();
    writeWordTable({{"HDR*wordaa", 0.99f}});
    EXPECT_FLOAT_EQ(scoreOf(msg), 0.01f) << "no header words to count";
}

TEST_F(BayesTest, UnknownTokensScoreFortyPercent) {
    writeWordTable({{"HDR*elsewhere", 0.99f}});
    clsMessage msg = headerWords(words(20));
    EXPECT_FLOAT_EQ(scoreOf(msg), 0.4f);
}

TEST_F(BayesTest, BelowHeaderWordsTheMeanOfAllTokens) {
    auto w = words(11);
    std::map<std::string, float> table;
    for (const auto& x : w) table["HDR*" + x] = 0.5f;
    table["HDR*" + w[0]] = 0.06f;
    writeWordTable(table);
    clsMessage msg = headerWords(w);
    msg.SpamSplit = "kept";
    EXPECT_FLOAT_EQ(scoreOf(msg), 0.46f) << "5.06 / 11, not / 12";
    EXPECT_EQ(msg.SpamSplit, "kept") << "no breakdown for a short message";
}

TEST_F(BayesTest, AtHeaderWordsTheMostExtremeTokens) {
    corva::HeaderWords = 3;
    writeWordTable(
        {{"HDR*aaaa", 0.01f}, {"HDR*bbbb", 0.3f}, {"HDR*cccc", 0.6f}, {"HDR*dddd", 0.99f}});
    clsMessage msg = headerWords({"cccc", "dddd", "aaaa", "bbbb"});
    EXPECT_FLOAT_EQ(scoreOf(msg), 0.43f) << "0.99, 0.01 and 0.3: the 0.6 is the least extreme";
    EXPECT_EQ(msg.SpamSplit,
              "(0.01) \tHDR*aaaa\r\n(0.3) \tHDR*bbbb\r\n(0.6) \tHDR*cccc\r\n(0.99) \tHDR*dddd\r\n");
}

TEST_F(BayesTest, ManyTokensScoreTheSameWithOrWithoutABreakdown) {
    corva::HeaderWords = 3;
    const std::vector<float> values = {0.9f,  0.05f, 0.7f, 0.01f, 0.95f, 0.3f,
                                       0.99f, 0.2f,  0.6f, 0.02f, 0.99f, 0.01f};
    const auto w = words(static_cast<int>(values.size()));
    std::map<std::string, float> table;
    for (size_t i = 0; i < w.size(); ++i) table["HDR*" + w[i]] = values[i];
    writeWordTable(table);
    for (bool keep : {true, false}) {
        filter_.KeepBreakdown(keep);
        clsMessage msg = headerWords(w);
        EXPECT_FLOAT_EQ(scoreOf(msg), 0.66f) << "both 0.99s, then an 0.01; breakdown " << keep;
    }
}

TEST_F(BayesTest, ExtremeTiesGoToTheSpamEndAndEqualValuesKeepTheirOrder) {
    corva::HeaderWords = 1;
    writeWordTable({{"HDR*lowish", 0.25f}, {"HDR*highish", 0.75f}});
    clsMessage msg = headerWords({"highish", "lowish"});
    EXPECT_FLOAT_EQ(scoreOf(msg), 0.75f);

    corva::HeaderWords = 2;
    clsMessage same = headerWords({"zzzz", "yyyy", "xxxx"});
    scoreOf(same);
    EXPECT_EQ(same.SpamSplit, "(0.4) \tHDR*zzzz\r\n(0.4) \tHDR*yyyy\r\n(0.4) \tHDR*xxxx\r\n");
}

TEST_F(BayesTest, ScoreIsTheSameFromTheFileIndexAndFromTheFilledTable) {
    corva::HeaderWords = 3;
    writeWordTable({{"HDR*aaaa", 0.01f}, {"HDR*bbbb", 0.3f}, {"HDR*cccc", 0.6f}});
    clsMessage first = headerWords({"cccc", "bbbb", "aaaa", "dddd"});
    const float fromIndex = scoreOf(first);
    EXPECT_EQ(filter_.WordCount(), 3);
    EXPECT_EQ(filter_.WordTable().MaxIndex, 3) << "filled in when asked for";
    clsMessage again = headerWords({"cccc", "bbbb", "aaaa", "dddd"});
    EXPECT_FLOAT_EQ(scoreOf(again), fromIndex);
    EXPECT_EQ(again.SpamSplit, first.SpamSplit);
    filter_.KeepBreakdown(false);
    clsMessage quiet = headerWords({"cccc", "bbbb", "aaaa", "dddd"});
    EXPECT_FLOAT_EQ(scoreOf(quiet), fromIndex);
    EXPECT_EQ(quiet.SpamSplit, "") << "no breakdown made";
}

TEST_F(BayesTest, ScoreRoundsToHundredthsTiesToEven) {
    writeWordTable({{"HDR*half", 0.5f}, {"HDR*quarter", 0.25f}, {"HDR*nothing", 0.0f}});
    clsMessage a = headerWords({"quarter", "nothing"});
    EXPECT_FLOAT_EQ(scoreOf(a), 0.12f) << "0.125";
    clsMessage b = headerWords({"half", "quarter"});
    EXPECT_FLOAT_EQ(scoreOf(b), 0.38f) << "0.375";
    EXPECT_FLOAT_EQ(roundToHundredths(0.625f), 0.62f);
    EXPECT_FLOAT_EQ(roundToHundredths(0.4449f), 0.44f);
}

TEST_F(BayesTest, SubjectHidingPharmaOrMedsIsBlacklisted) {
    clsMessage msg;
    msg.Subject = "P.h.H-A r RM xA!";
    EXPECT_FLOAT_EQ(scoreOf(msg), 0.99f);
    EXPECT_EQ(msg.FilterReason, "Blacklisted Subject - PHARMA");
    clsMessage meds;
    meds.Subject = "My EDitorS";
    EXPECT_FLOAT_EQ(scoreOf(meds), 0.99f);
    EXPECT_EQ(meds.FilterReason, "Blacklisted Subject - MEDS");
    clsMessage lower;
    lower.Subject = "pharma meds";
    EXPECT_FLOAT_EQ(scoreOf(lower), 0.01f);
    EXPECT_EQ(lower.FilterReason, "");
}

class SenderTest : public BayesTest {
protected:
    // A sender "First Last <bob@x.com>" whose tokens all score p.
    clsMessage from(float p, const std::string& first = "Ann", const std::string& last = "Smith") {
        const std::string name = first + " " + last;
        writeWordTable({{"FRM*" + name, p},
                        {"FRM*" + first, p},
                        {"FRM*" + last, p},
                        {"FRM*bob@x.com", p},
                        {"FRM*x.com", p}});
        filter_.ForceRefresh();
        filter_.WordTable().HashClear();
        clsMessage msg;
        msg.From = name + " <bob@x.com>";
        return msg;
    }
    void knownAsGood(const std::string& address) {
        filter_.GoodTable().InitSmall();
        filter_.GoodTable().Insert(address);
    }
    void inContacts(const std::string& address) {
        clsContact c;
        c.strName = "Someone";
        c.email = address;
        book_.AddContact(c);
    }
};

TEST_F(SenderTest, GoodSenderIsTakenDownBeforeTheContactTest) {
    clsMessage msg = from(0.8f);
    EXPECT_FLOAT_EQ(scoreOf(msg), 0.8f);
    inContacts("BOB@x.com ");
    EXPECT_FLOAT_EQ(scoreOf(msg), 0.3f) << "a known contact at or above the save score";
    knownAsGood("bob@x.com");
    EXPECT_NEAR(scoreOf(msg), 0.65f, 1e-6) << "below 0.7 after the good-table step";
}

TEST_F(SenderTest, SenderAddressCountsOnceBeforeFrom) {
    clsMessage msg = from(0.5f);
    msg.Sender = "list@x.com";
    knownAsGood("list@x.com");
    filter_.GoodTable().Insert("bob@x.com");
    EXPECT_NEAR(scoreOf(msg), 0.32f, 1e-6) << "(5 * 0.5 + 2 * 0.4) / 7 rounds to 0.47";
}

TEST_F(SenderTest, NameInAddressMarksUpThenClampsAtTheEnds) {
    clsMessage msg = from(0.98f, "Bob", "Ward");
    EXPECT_FLOAT_EQ(scoreOf(msg), 0.99f) << "1.23 is cut back";

    clsMessage top = from(0.99f);
    top.From = "bob@x.com";
    knownAsGood("bob@x.com");
    EXPECT_NEAR(scoreOf(top), 0.84f, 1e-6) << "0.99 gets no mark-up, only the good-table step";

    clsMessage low = from(0.01f);
    EXPECT_FLOAT_EQ(scoreOf(low), 0.01f) << "below 0 becomes 0.01, not 0";

    EXPECT_TRUE(nameInAddress("Bob  Ward", "BOB@x.com"));
    EXPECT_FALSE(nameInAddress("", "bob@x.com"));
}
