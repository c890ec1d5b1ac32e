// The retrieve ledger's file: what it keeps from one session to the next,
// whose mailbox it belongs to, and when it forgets.
#include "Pop3Harness.h"

#include "pop3/RetrieveLedger.h"

#include <unistd.h>

namespace corva::test {
namespace {

class LedgerTest : public Pop3Test {
protected:
    static std::string key(const std::string& text, bool headerOnly, long long octets) {
        clsMessage msg;
        msg.CreateFromText(text, headerOnly);
        return RetrieveLedger::keyFor(msg, octets);
    }
    void SetUp() override {
        Pop3Test::SetUp();
        path = RetrieveLedger::pathFor(0);
    }
    std::string path;
};

TEST_F(LedgerTest, KeyIsTheSameForHeaderAndWholeMessageAndTellsMessagesApart) {
    const std::string withId = "From: a@x\r\nMessage-ID: <1@x>\r\nSubject: s\r\n\r\n";
    const std::string withoutId = "From: a@x\r\nSubject: s\r\n\r\n";
    EXPECT_EQ(key(withId + "first\r\n", true, 90), key(withId + "first\r\nsecond\r\n", false, 90));
    EXPECT_EQ(key(withoutId + "x\r\n", true, 90), key(withoutId + "x\r\ny\r\n", false, 90));
    EXPECT_NE(key(withId, true, 90), key(withId, true, 91));
    EXPECT_NE(key(withId, true, 90), key(withoutId, true, 90));
    EXPECT_NE(key(withoutId, true, 90), key("From: b@x\r\nSubject: s\r\n\r\n", true, 90));
    // Whatever a header holds, the file gets one plain line per message.
    EXPECT_EQ(key("Message-ID: <a\x1b[2J\r\n b>\r\n\r\n", true, 5).find_first_of("\r\n\x1b"),
              std::string::npos);
}

TEST_F(LedgerTest, OnlyEarlierSessionsCountAndTheFileChangesOnlyWithItsContent) {
    RetrieveLedger ledger;
    ledger.open(path, "ann", "pop.example");
    EXPECT_TRUE(ledger.save());
    EXPECT_FALSE(FileExists(path)) << "nothing stored, nothing written";
    ledger.recordStored("10 aa");
    // Two copies of one message in one session are both stored.
    EXPECT_FALSE(ledger.storedEarlier("10 aa"));
    ASSERT_TRUE(ledger.save());
    const std::string written = readFile(path);

    ledger.open(path, "ann", "pop.example");
    EXPECT_TRUE(ledger.storedEarlier("10 aa"));
    EXPECT_FALSE(ledger.storedEarlier("10 bb"));
    ledger.recordStored("10 aa");
    ::unlink(path.c_str());
    EXPECT_TRUE(ledger.save());
    EXPECT_FALSE(FileExists(path)) << "unchanged content is not written again";
    writeFile(path, written);

    // Another user or server on the same account number starts afresh.
    ledger.open(path, "bob", "pop.example");
    EXPECT_FALSE(ledger.storedEarlier("10 aa"));
}

TEST_F(LedgerTest, ForgetsWhatTheServerNoLongerLists) {
    RetrieveLedger ledger;
    ledger.open(path, "ann", "pop.example");
    for (const char* k : {"10 aa", "20 bb", "20 cc", "132 3780ab"}) ledger.recordStored(k);
    ASSERT_TRUE(ledger.save());

    ledger.open(path, "ann", "pop.example");
    // The size is the key's first word, never more of it.
    ledger.keepSizes({20, 132});
    EXPECT_EQ(ledger.size(), 3u);
    ledger.seen("20 bb");
    ledger.forgetUnseen();
    ASSERT_TRUE(ledger.save());
    ledger.open(path, "ann", "pop.example");
    EXPECT_EQ(ledger.size(), 1u);
    EXPECT_TRUE(ledger.storedEarlier("20 bb"));
}

} // namespace
} // namespace corva::test
