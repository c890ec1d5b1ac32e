// The scanner's rows keep text and verdict, and must give back the message
// the list and its commands knew.
#include "cycle/ServerRows.h"

#include <gtest/gtest.h>

#include <tuple>

using namespace corva;

namespace {

const std::string Text = "Received: from relay.example.net\r\nFrom: Ann <ann@example.com>\r\n"
                         "To: bob@example.com\r\nSubject: Lunch\r\n\r\nFirst line\r\n";

clsMessage judged() {
    clsMessage msg;
    msg.CreateFromText(Text, true);
    msg.FromAccount = 3;
    msg.MessageNumThisAcc = 7;
    msg.Size = 12;
    msg.Bayes = 0.5f;
    msg.Colour = 33023;
    msg.Suspicious = true;
    msg.FilterReason = "Bayes";
    msg.DestFolder = "SpamBayes";
    msg.Subject = "N/A"; // as the list shows an ignored one
    return msg;
}

} // namespace

TEST(ServerRows, RowsGiveBackTheMessageAndItsVerdict) {
    ServerRows rows;
    clsMessage scanned = judged();
    rows.Add(scanned);
    ASSERT_EQ(rows.Count(), 1);
    ServerRows::Ptr msg = rows.Item(1);
    ASSERT_TRUE(msg);
    EXPECT_EQ(msg->From, "Ann <ann@example.com>");
    EXPECT_EQ(msg->Subject, "N/A");
    EXPECT_NE(msg->Received.find("relay.example.net"), std::string::npos);
    // Each verdict field is copied by hand: every one is checked.
    EXPECT_EQ(
        std::tie(msg->FromAccount, msg->MessageNumThisAcc, msg->Colour, msg->Size, msg->Bayes),
        std::make_tuple(3, 7, 33023, 12.0f, 0.5f));
    EXPECT_TRUE(msg->Suspicious);
    EXPECT_EQ(msg->FilterReason + "|" + msg->DestFolder, "Bayes|SpamBayes");
    // What a command changes stays with the row; a pass writes back with Update.
    rows.Item(1)->From.clear();
    EXPECT_EQ(rows.Item(1)->From, "");
    EXPECT_FALSE(rows.Item(2));

    rows.Clear();
    EXPECT_FALSE(rows.Item(1));
    rows.Add(scanned);
    ServerRows::Ptr peeked = rows.Peek(1);
    peeked->Deleted = true;
    EXPECT_FALSE(rows.Peek(1)->Deleted);
    rows.Update(1, *peeked);
    EXPECT_TRUE(rows.Peek(1)->Deleted);
}
