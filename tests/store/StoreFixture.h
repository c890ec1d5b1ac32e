// A fresh program folder with its message store for each test, and small
// makers of message files.
#pragma once

#include "support/LastActions.h"
#include "support/TempDir.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace corva::test {

struct MessageSpec {
    std::string subject = "Hello";
    std::string from = "Ann <ann@example.com>";
    std::string to = "bob@example.com";
    std::string id;          // no Message-ID line when empty
    std::string receiveDate; // no X-Receive-Date line when empty
    bool read = false;
    std::string body = "Body text.\r\n";
};

// A message named by its subject, with an identifier made from it, received n days ago.
MessageSpec dated(const std::string& subject, int daysBack, bool read);

// The raw CR LF text of a message.
std::string messageText(const MessageSpec& sample);

class StoreTest : public ::testing::Test {
protected:
    void SetUp() override;
    void TearDown() override;

    // A message file in a folder relative to the root ("Inbox/"), named by
    // its read state: lower case read, upper case unread. Returns the path.
    std::string addMessage(const std::string& folder, const std::string& fileName,
                           const MessageSpec& sample);
    std::string inbox() const;
    TempDir home_;
};

// A date n days before today as "YYYY-MM-DD 12:00:00".
std::string daysAgo(int n);
// Today's day number, as the tags keep it.
long today();

} // namespace corva::test
