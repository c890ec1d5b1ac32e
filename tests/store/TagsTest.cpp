// Tag files and the tree node state computed from them.
#include "StoreFixture.h"

#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "store/FolderNode.h"
#include "store/modTags.h"

#include <filesystem>

using namespace corva;
using namespace corva::test;

TEST_F(StoreTest, UnreadCountAddsAndTakesOneForZero) {
    std::string f = inbox();
    EXPECT_EQ(readunreadtag(f), 0);
    addtounreadtag(f, 0);
    addtounreadtag(f, 0);
    EXPECT_EQ(readunreadtag(f), 2);
    addtounreadtag(f, 5);
    removefromunreadtag(f, 0);
    EXPECT_EQ(readunreadtag(f), 6);
    removefromunreadtag(f, 10);
    EXPECT_EQ(readunreadtag(f), -4);

    // The count is 16-bit: an overflow is logged and the old count stays.
    createunreadtag(f, 32767);
    ResetLastActions();
    addtounreadtag(f, 1);
    EXPECT_EQ(readunreadtag(f), 32767);
    EXPECT_TRUE(lastActionsHold("Overflow(6)"));

    DeleteUnreadTag(f);
    DeleteUnreadTag(f); // a second erase is quietly nothing
    EXPECT_EQ(readunreadtag(f), 0);
    writeFile(f + "Unread.tag", "");
    EXPECT_EQ(readunreadtag(f), 0);
}

TEST_F(StoreTest, TagsAreFoundWhateverTheirCaseOnDisk) {
    std::string f = inbox();
    writeFile(f + "UNREAD.TAG", "4\r\n");
    writeFile(f + "lastmsg.TAG", "45000");
    EXPECT_EQ(readunreadtag(f), 4);
    EXPECT_EQ(readlastmessagetag(f), 45000);

    addtounreadtag(f, 0);
    CreateLastMessageTag(f, 45001);
    // Written back under the spelling found, never as a second file.
    EXPECT_EQ(readFile(f + "UNREAD.TAG"), "5");
    EXPECT_FALSE(std::filesystem::exists(f + "Unread.tag"));
    EXPECT_EQ(readFile(f + "lastmsg.TAG"), "45001");

    DeleteLastMessageTag(f);
    EXPECT_FALSE(std::filesystem::exists(f + "lastmsg.TAG"));

    writeFile(f + "showunreadonly.tag", "x");
    EXPECT_TRUE(ShowUnreadOnly(f));
    SetShowUnreadOnly(f, false);
    EXPECT_FALSE(ShowUnreadOnly(f));
    SetShowUnreadOnly(f, true);
    EXPECT_EQ(readFile(f + "ShowUnreadOnly.tag"), "Only show unread messages");
}

TEST_F(StoreTest, LastMessageTagMovesOnlyForwardAndOnlyForUnreadMail) {
    const struct {
        std::string receiveDate;
        bool read;
        long expectedDaysBack;
    } steps[] = {
        {daysAgo(3), false, 3},   {daysAgo(5), false, 3},
        {daysAgo(1), true, 3},    {"", false, 0}, // no date is today
        {"not a date", false, 0},
    };
    ResetLastActions();
    for (const auto& step : steps) {
        SCOPED_TRACE(step.receiveDate);
        clsMessage m;
        m.ReceiveDate = step.receiveDate;
        m.Read = step.read;
        AddToLastMessageTag(inbox(), m);
        EXPECT_EQ(readlastmessagetag(inbox()), today() - step.expectedDaysBack);
    }
    EXPECT_TRUE(lastActionsHold("AddToLastMessageTag"));
}

TEST_F(StoreTest, NodeShowsCountBoldAndAgeColourOnlyWithUnreadMail) {
    std::string f = inbox();
    AgeColours ages(30, 14, 1, DateTime::today());
    FolderNode node{"Inbox (3)", true, 0x123456};

    createunreadtag(f, -2);
    EXPECT_TRUE(scanfolder(f, node, ages));
    EXPECT_EQ(node, (FolderNode{"Inbox", false, std::nullopt}));
    EXPECT_FALSE(scanfolder(f, node, ages)); // nothing left to change

    createunreadtag(f, 7);
    struct Case {
        long daysBack;
        int32_t colour;
    };
    for (Case c : {Case{31, AgeColourOldest}, Case{30, AgeColourOlder}, Case{14, AgeColourOlder},
                   Case{13, AgeColourRecent}, Case{1, AgeColourRecent}, Case{0, AgeColourNew}}) {
        CreateLastMessageTag(f, today() - c.daysBack);
        scanfolder(f, node, ages);
        EXPECT_EQ(node, (FolderNode{"Inbox (7)", true, c.colour})) << c.daysBack << " days";
    }

    // Colours follow the settings.
    sset("Age0", 5);
    sset("Age1", 3);
    sset("Age2", 2);
    CreateLastMessageTag(f, today() - 4);
    scanfolder(f, node);
    EXPECT_EQ(node.Colour, std::optional<int32_t>(AgeColourOlder));
}

TEST(DayNumbers, StoreDatesHeaderDatesAndBareNumbersAgree) {
    long day = daynumber("2024-03-01 10:00:00");
    EXPECT_EQ(day, static_cast<long>(DateTime::fromParts(2024, 3, 1).serial()));
    EXPECT_EQ(daynumber("Fri, 1 Mar 2024 23:59:59 +0000"), day);
    EXPECT_EQ(daynumber(" 2024-03-01 "), day);
    EXPECT_EQ(daynumber(std::to_string(day) + ".75"), day);
    EXPECT_THROW(daynumber("whenever"), RunError);
    EXPECT_THROW(daynumber(""), RunError);
    EXPECT_THROW(daynumber("602939630296029396302960"), RunError);
}
