// The classifier as the message check sees it, and the scanner's reinforcement.
#include "BayesFixture.h"

#include "bayes/modMailSubs.h"
#include "filters/frmFilters.h"
#include "platform/Platform.h"
#include "support/RecordingPlatform.h"

#include <memory>

using namespace corva;
using corva::test::BayesTest;

namespace {} // namespace

TEST_F(BayesTest, InstalledClassifierScoresTheMessageCheck) {
    corva::Spamminess = 0.99f;
    writeWordTable({{"HDR*viagra", 0.99f}, {"HDR*lunch", 0.01f}});
    frmFilters filters(dir_.path());
    filter_.Install();
    clsMessage spam = headerWords({"viagra"});
    spam.HeaderOnly = true;
    filters.CheckMessage(spam, true);
    EXPECT_FLOAT_EQ(spam.Bayes, 0.99f);
    EXPECT_EQ(spam.Colour, ColourDelete);
    EXPECT_TRUE(spam.Deleted);

    clsMessage good = headerWords({"lunch"});
    filters.CheckMessage(good, true);
    EXPECT_FLOAT_EQ(good.Bayes, 0.01f);
    EXPECT_EQ(good.Colour, ColourGood);
}

TEST_F(BayesTest, ReinforceSortsLinesByColourAndRescans) {
    test::RecordingPlatform fake;
    fake.prompts_.answer = platform::Answer::Yes;
    platform::ScopedPlatform installed(fake);
    auto line = [](int32_t colour, const std::string& subject) {
        auto msg = std::make_shared<clsMessage>();
        msg->Subject = subject;
        msg->Colour = colour;
        return msg;
    };
    bool rescanned = false;
    ASSERT_TRUE(ReinforceUsingVisible(
        filter_,
        {line(ColourGood, "Sunday lunch"), line(ColourLeftAlone, "Newsletter"),
         line(ColourSuspicious, "Cheap watches"), line(ColourDelete, "Cheap pills")},
        [&] { rescanned = true; }));
    EXPECT_TRUE(rescanned);
    ASSERT_EQ(fake.prompts_.messages.size(), 3u);
    EXPECT_NE(fake.prompts_.messages[1].find("mark 2 messages as Junk"), std::string::npos);
    EXPECT_NE(fake.prompts_.messages[2].find("the 2 selected messages"), std::string::npos)
        << "grey counts as good";
    EXPECT_FLOAT_EQ(filter_.BadTable().HashFind("SUB*Cheap").Value, 2.0f);
    EXPECT_FLOAT_EQ(filter_.GoodTable().HashFind("SUB*Newsletter").Value, 1.0f);

    fake.prompts_.messages.clear();
    ReinforceUsingVisible(filter_, {line(ColourGood, "Hello there")}, {});
    ASSERT_EQ(fake.prompts_.messages.size(), 2u)
        << "no orange or pink line: only the good question";
    EXPECT_NE(fake.prompts_.messages[1].find("'Good'"), std::string::npos);
}
