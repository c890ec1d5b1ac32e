// The probability formula, training from folders, and marking by the user.
#include "BayesFixture.h"

#include "bayes/TrainingForm.h"
#include "core/FileSubs.h"
#include "core/mSHAREDSettings.h"
#include "message/clsMessages.h"
#include "platform/Platform.h"
#include "support/RecordingPlatform.h"

#include <memory>

using namespace corva;
using corva::test::BayesTest;

namespace {

clsHashTable counts(int32_t count, const std::map<std::string, float>& values) {
    clsHashTable t;
    t.InitSmall();
    t.Count = count;
    for (const auto& [k, v] : values) t.InsertRecord(k, v);
    return t;
}

const char* SpamText = "From: Pill Shop <deals@pills.example>\r\n"
                       "To: victim@home.example\r\n"
                       "Subject: Cheap watches today\r\n"
                       "Content-Type: text/plain\r\n"
                       "\r\n"
                       "Visit http://pills.example/buy now\r\n";
const char* GoodText = "From: Mother <mum@family.example>\r\n"
                       "To: victim@home.example\r\n"
                       "Subject: Sunday lunch\r\n"
                       "\r\n"
                       "See you at noon.\r\n";

std::shared_ptr<clsMessage> parsed(const char* text) {
    auto msg = std::make_shared<clsMessage>();
    msg->CreateFromText(text, false);
    return msg;
}

} // namespace

TEST_F(BayesTest, FormulaFollowsTheCountsAndTheirThreshold) {
    clsHashTable good = counts(1, {{"ratio.125", 7},
                                   {"ratio.375", 5},
                                   {"goodonly", 3},
                                   {"rare.in.good", 1},
                                   {"spam.once", 2},
                                   {"near.one", 2},
                                   {"near.zero", 1000}});
    clsHashTable bad = counts(0, {{"ratio.125", 1},
                                  {"ratio.375", 3},
                                  {"rare.in.good", 50},
                                  {"spam.once", 1},
                                  {"badonly", 2},
                                  {"bad.too.rare", 1},
                                  {"near.one", 100000},
                                  {"near.zero", 0.001f}});
    filter_.GenerateWordHash(good, bad, 2);
    clsHashTable& word = filter_.WordTable();
    EXPECT_FLOAT_EQ(word.HashFind("ratio.125").Value, 0.12f) << "1/8 rounds to even";
    EXPECT_FLOAT_EQ(word.HashFind("ratio.375").Value, 0.38f);
    EXPECT_FLOAT_EQ(word.HashFind("goodonly").Value, 0.01f);
    EXPECT_FLOAT_EQ(word.HashFind("badonly").Value, 0.99f);
    EXPECT_FLOAT_EQ(word.HashFind("spam.once").Value, 0.33f) << "the threshold is on good only";
    EXPECT_FLOAT_EQ(word.HashFind("near.one").Value, 1.0f) << "no upper clamp";
    EXPECT_FLOAT_EQ(word.HashFind("near.zero").Value, 0.01f) << "lower clamp";
    EXPECT_EQ(word.HashFind("rare.in.good").Index, 0) << "in both, too rare in good: nothing";
    EXPECT_EQ(word.HashFind("bad.too.rare").Index, 0);
    EXPECT_EQ(word.MaxIndex, 7);

    clsHashTable back;
    back.LoadTable(frmBayesFilter::wordfilename());
    EXPECT_FLOAT_EQ(back.HashFind("ratio.375").Value, 0.38f) << "written to HashTable.dat";

    clsHashTable fewGood = counts(10, {{"w", 2}});
    clsHashTable manyBad = counts(30, {{"w", 2}});
    filter_.GenerateWordHash(fewGood, manyBad, 1);
    EXPECT_FLOAT_EQ(word.HashFind("w").Value, 0.25f) << "(2/30) / (2/10 + 2/30)";
}

TEST_F(BayesTest, GenerateFiltersTrainsFromFoldersAndScores) {
    for (int i = 0; i < 3; ++i) {
        corva::test::writeFile(MessageFolder + "SpamBayes/SPAM" + std::to_string(i) + ".EML",
                               SpamText);
        corva::test::writeFile(MessageFolder + "Inbox/GOOD" + std::to_string(i) + ".EML", GoodText);
    }
    corva::test::writeFile(MessageFolder + "Inbox/notes.txt", SpamText);
    ASSERT_TRUE(filter_.generatefilters());
    EXPECT_EQ(filter_.GoodTable().Count, 3);
    EXPECT_EQ(filter_.BadTable().Count, 3);
    EXPECT_FLOAT_EQ(filter_.BadTable().HashFind("URL*pills.example").Value, 3.0f)
        << "training takes link tokens";
    EXPECT_FLOAT_EQ(filter_.BadTable().HashFind("SUB*Cheap").Value, 3.0f);
    EXPECT_FLOAT_EQ(filter_.GoodTable().HashFind("TO*home.example").Value, 6.0f)
        << "a bare address is its own display name too";
    EXPECT_TRUE(FileExists(frmBayesFilter::goodfilename()));
    EXPECT_TRUE(FileExists(frmBayesFilter::badfilename()));

    auto spam = parsed(SpamText);
    auto good = parsed(GoodText);
    float s = 0, g = 0;
    filter_.Spamminess(*spam, true, s);
    filter_.Spamminess(*good, true, g);
    EXPECT_GE(s, 0.9f);
    EXPECT_LE(g, 0.1f);
}

// Stop pressed while the first good message is read: the good table keeps
// that one, spam and the word table are not touched, and the form is idle.
TEST_F(BayesTest, StopKeepsWhatWasReadAndLeavesTheWordTable) {
    struct StoppingView : TrainingView {
        TrainingForm* form = nullptr;
        std::vector<bool> busy;
        void Status(const std::string& text) override {
            if (text == "Good Mail - Message 1 of 3") form->cmdStop_Click();
        }
        void SetBusy(bool b) override { busy.push_back(b); }
        TrainingChoices ReadChoices() const override { return {}; }
    } view;
    TrainingForm form(filter_, view);
    view.form = &form;
    for (int i = 0; i < 3; ++i) {
        corva::test::writeFile(MessageFolder + "Inbox/GOOD" + std::to_string(i) + ".EML", GoodText);
        corva::test::writeFile(MessageFolder + "SpamBayes/SPAM" + std::to_string(i) + ".EML",
                               SpamText);
    }
    writeWordTable({{"SUB*Cheap", 0.99f}});
    const std::string before = corva::test::readFile(frmBayesFilter::wordfilename());
    form.cmdGenerate_Click();
    EXPECT_EQ(filter_.GoodTable().Count, 1);
    EXPECT_FALSE(FileExists(frmBayesFilter::badfilename()));
    EXPECT_EQ(corva::test::readFile(frmBayesFilter::wordfilename()), before);
    EXPECT_EQ(view.busy, (std::vector<bool>{true, false}));
    EXPECT_FALSE(filter_.StopRequested);
    EXPECT_EQ(thresholdChoices(1, 99, 200).back(), 200); // a first install's value stays listed
}

TEST_F(BayesTest, MissingSpamArchiveStopsWithTheWordTableEmpty) {
    corva::test::writeFile(MessageFolder + "Inbox/GOOD.EML", GoodText);
    PathsStore().StoreSetting("SpamFolder", dir_.path() + "nowhere");
    filter_.SpamSource = SpamMailSource::Archive;
    EXPECT_FALSE(filter_.generatefilters());
    PathsStore().DeleteSettingByName("SpamFolder");
    EXPECT_EQ(filter_.WordTable().MaxIndex, 0);
    EXPECT_FALSE(FileExists(frmBayesFilter::wordfilename()));
}

TEST_F(BayesTest, UpdateFromUnreadAddsOnlyUnreadSpam) {
    corva::test::writeFile(MessageFolder + "SpamBayes/NEW.EML", SpamText);
    corva::test::writeFile(MessageFolder + "SpamBayes/old.eml",
                           std::string("X-Message-Read: 1\r\n") + GoodText);
    filter_.UpdateFromUnread();
    EXPECT_EQ(filter_.BadTable().Count, 2) << "the read message is counted too";
    EXPECT_FLOAT_EQ(filter_.BadTable().HashFind("SUB*Cheap").Value, 1.0f);
    EXPECT_EQ(filter_.BadTable().HashFind("SUB*Sunday").Index, 0);
    EXPECT_FALSE(FileExists(frmBayesFilter::badfilename())) << "the bad counts aren't written";
    EXPECT_TRUE(FileExists(frmBayesFilter::wordfilename()));
}

// Marking by the user, with the question answered as the test says.
class MarkingTest : public BayesTest {
protected:
    test::RecordingPlatform fake;
    platform::ScopedPlatform installed{fake};
};

// Each distinct token counts once per marking, marking good never takes a
// spam count back, and a refusal or an empty selection changes nothing.
TEST_F(MarkingTest, MarkingCountsEachTimeAndARefusalChangesNothing) {
    fake.prompts_.answer = platform::Answer::No;
    clsMessages refused;
    refused.Add(parsed(SpamText));
    filter_.MarkMessagesJunkOrNot(refused, true);
    EXPECT_EQ(refused.Count(), 1);
    EXPECT_EQ(filter_.BadTable().MaxIndex, 0);
    EXPECT_FALSE(FileExists(frmBayesFilter::badfilename()));
    clsMessages none;
    filter_.MarkMessagesJunkOrNot(none, true);
    EXPECT_EQ(fake.prompts_.messages.size(), 1u) << "nothing to mark, nothing asked";

    fake.prompts_.answer = platform::Answer::Yes;
    auto msg = parsed(SpamText);
    for (int round = 0; round < 2; ++round) {
        clsMessages selection;
        selection.Add(msg);
        filter_.MarkMessagesJunkOrNot(selection, true);
        EXPECT_EQ(selection.Count(), 0);
    }
    EXPECT_EQ(fake.prompts_.messages.size(), 3u);
    EXPECT_TRUE(FileExists(frmBayesFilter::goodfilename()));
    clsHashTable word, bad;
    word.LoadTable(frmBayesFilter::wordfilename());
    EXPECT_FLOAT_EQ(word.HashFind("SUB*Cheap").Value, 0.99f);
    bad.LoadTable(frmBayesFilter::badfilename());
    EXPECT_EQ(bad.Count, 2);
    EXPECT_FLOAT_EQ(bad.HashFind("SUB*Cheap").Value, 2.0f);
    EXPECT_EQ(bad.HashFind("URL*pills.example").Index, 0) << "marking never takes link tokens";

    auto repeated = parsed("Subject: spam spam spam\r\n\r\nx");
    for (bool junk : {true, false}) {
        clsMessages selection;
        selection.Add(repeated);
        filter_.MarkMessagesJunkOrNot(selection, junk);
    }
    EXPECT_FLOAT_EQ(filter_.BadTable().HashFind("SUB*spam").Value, 1.0f);
    EXPECT_FLOAT_EQ(filter_.GoodTable().HashFind("SUB*spam").Value, 1.0f)
        << "marking good leaves the spam count";
}

TEST(ConfirmMarkAs, TextsForOneAndMany) {
    auto one = ConfirmMarkAs(1, true);
    EXPECT_EQ(one.caption, "Confirm your selection");
    EXPECT_EQ(one.title, "Mark as Junk?");
    EXPECT_NE(one.text.find("mark 1 message as Junk mail."), std::string::npos);
    EXPECT_NE(one.text.find("mark the selected message as Junk?"), std::string::npos);
    auto many = ConfirmMarkAs(3, true);
    EXPECT_NE(many.text.find("mark 3 messages as Junk mail."), std::string::npos);
    EXPECT_NE(many.text.find("the selected messages as Junk?"), std::string::npos);
    EXPECT_EQ(ConfirmMarkAs(1, false).text,
              "Do you want to mark the selected message as 'Good' mail?");
    EXPECT_EQ(ConfirmMarkAs(4, false).text,
              "Do you want to mark the 4 selected messages as 'Good' mail?");
}
