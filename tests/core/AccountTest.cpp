// One account's keys as the session, the sender and the dialog read them.
#include "core/Account.h"
#include "core/mSHAREDSettings.h"

#include <gtest/gtest.h>

using corva::Account;
using corva::sset;

TEST(Account, ReadsItsNumberedKeysWithTheirDefaults) {
    const Account a(17);
    EXPECT_EQ(a.key("EXCLUSIVE1_"), "EXCLUSIVE1_17");
    EXPECT_EQ(a.title(), "Account 18");
    EXPECT_TRUE(a.checked()) << "the session includes an account never set";
    EXPECT_FALSE(a.checked(false)) << "the dialog shows it unticked";
    EXPECT_EQ(a.smtpPort(), 25);
    EXPECT_EQ(Account::firstWithReplyAddress(17), -1);

    sset("TITLE17", "Work");
    sset("SERVER17", "  pop.work.test ");
    sset("CHECK17", false);
    sset("SMTPPort17", 587);
    sset("REPLYADDRESS18", "me@work.test");
    EXPECT_EQ(a.title(), "Work");
    EXPECT_EQ(a.server(), "pop.work.test");
    EXPECT_FALSE(a.checked());
    EXPECT_EQ(a.smtpPort(), 587);
    EXPECT_EQ(Account::firstWithReplyAddress(17), 18);
    EXPECT_EQ(Account::firstWithReplyAddress(19), -1);
    EXPECT_FALSE(Account::isNumber(Account::Count));
}
