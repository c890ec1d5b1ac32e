// The .qbx container and its index.
#include "StoreFixture.h"

#include "core/FileSubs.h"
#include "core/mSHAREDLogging.h"
#include "store/modQBX.h"

#include <cstdint>

using namespace corva;
using namespace corva::test;

namespace {
int32_t le32(const std::string& s, size_t at) {
    uint32_t u = 0;
    for (int i = 3; i >= 0; --i)
        u = (u << 8) | static_cast<unsigned char>(s[at + static_cast<size_t>(i)]);
    return static_cast<int32_t>(u);
}
int16_t le16(const std::string& s, size_t at) {
    return static_cast<int16_t>(static_cast<unsigned char>(s[at]) |
                                (static_cast<unsigned char>(s[at + 1]) << 8));
}
} // namespace

TEST_F(StoreTest, ContainerPacksMessagesAndItsIndexPointsAtThem) {
    MessageSpec s;
    s.receiveDate = "2024-03-01 10:00:00";
    s.subject = "first";
    s.id = "<1@x>";
    std::string one = messageText(s);
    s.subject = "second";
    s.id = "<2@x>";
    s.read = true;
    std::string two = messageText(s);
    std::string qbx = home_.file("pack.qbx");
    writeFile(qbx, one + QBXSeparator + two + QBXSeparator);
    WriteQBXIndex(qbx);

    std::string idx = readFile(home_.file("pack.idx"));
    ASSERT_EQ(idx.size(), 24u);
    EXPECT_EQ(le32(idx, 0), 1);
    EXPECT_EQ(le32(idx, 4), static_cast<int32_t>(one.size() + 1)); // the LF of the separator
    EXPECT_EQ(le16(idx, 8), -1);                                   // unread
    EXPECT_EQ(le16(idx, 10), 0);
    EXPECT_EQ(le32(idx, 12), static_cast<int32_t>(one.size() + 1));
    EXPECT_EQ(le16(idx, 20), 0); // read
    EXPECT_EQ(le32(idx, 16),
              static_cast<int32_t>((one + QBXSeparator + two + QBXSeparator).size()));

    clsMessages split;
    SplitEmails(qbx, split);
    ASSERT_EQ(split.Count(), 2);
    // The first piece ends before its blank line, so only the later headers are read.
    EXPECT_EQ(split.Item(1)->Subject, "");
    EXPECT_EQ(split.Item(1)->QBXFileLoc, 1);
    EXPECT_EQ(split.Item(2)->Subject, "second");

    // Reading back through the index: the last message has no following record.
    clsMessages loaded;
    LoadQBXIndex(home_.file("pack.idx"), loaded);
    ASSERT_EQ(loaded.Count(), 1);
    EXPECT_EQ(loaded.Item(1)->Subject, "first");
    EXPECT_EQ(loaded.Item(1)->IdxRec, 1);
    EXPECT_TRUE(loaded.Item(1)->InQBXFile);
}

TEST_F(StoreTest, CombiningKeepsOnlyTheDateOfAMessageWithoutOne) {
    MessageSpec dated;
    dated.receiveDate = "2024-03-01 10:00:00";
    addMessage("Inbox/", "DATED.EML", dated);
    addMessage("Inbox/", "UNDATED.EML", {});
    std::string qbx = home_.file("all.qbx");
    CombineToQBXFile(inbox(), qbx, false);
    std::string packed = readFile(qbx);
    EXPECT_NE(packed.find(messageText(dated) + QBXSeparator), std::string::npos);
    EXPECT_NE(packed.find("X-Receive-Date" +
                          FileDate(inbox() + "UNDATED.EML").format("yyyy-mm-dd hh:nn:ss") + "\r" +
                          QBXSeparator),
              std::string::npos);
    EXPECT_EQ(FileSize(home_.file("all.idx")), 24);

    CombineToQBXFile(inbox(), qbx, true);
    EXPECT_EQ(readFile(qbx).size(), 2 * packed.size());
    EXPECT_EQ(FileSize(home_.file("all.idx")), 48);
}

TEST_F(StoreTest, DamagedIndexRecordsAreSkippedAndLogged) {
    std::string qbx = home_.file("bad.qbx");
    writeFile(qbx, messageText({}) + QBXSeparator);
    std::string records(36, '\0');
    records[0] = 1;                        // record 1 at 1
    records[12] = static_cast<char>(0xFF); // record 2 far beyond the end
    records[13] = static_cast<char>(0xFF);
    records[24] = 2;                                   // record 3 before record 2
    writeFile(home_.file("bad.idx"), records + "xyz"); // a torn record is not counted
    clsMessages loaded;
    ResetLastActions();
    LoadQBXIndex(home_.file("bad.idx"), loaded);
    EXPECT_EQ(loaded.Count(), 0);
    EXPECT_TRUE(lastActionsHold("Damaged index record 2"));
    EXPECT_TRUE(lastActionsHold("Damaged index record 3"));
}
