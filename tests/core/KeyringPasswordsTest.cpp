// Passwords move between Corva.ini and the desktop keyring, and stay where
// they are when no keyring answers.
#include "core/KeyringPasswords.h"
#include "core/Account.h"
#include "core/ShownText.h"
#include "core/mSHAREDSettings.h"
#include "platform/Keyring.h"

#include <gtest/gtest.h>

#include <map>

namespace corva {
namespace {

// A keyring in memory; answering = false plays one that no service runs.
struct FakeKeyring : platform::Keyring {
    std::map<std::string, std::string> entries;
    bool answering = true;
    platform::KeyringResult store(const std::string& service, const std::string& key,
                                  const std::string& secret) override {
        if (!answering)
            return {false, "", std::string(platform::KeyringMissing) + ": no bus", false};
        entries[service + "|" + key] = secret;
        return {true, "", "", false};
    }
    platform::KeyringResult read(const std::string& service, const std::string& key) override {
        if (!answering)
            return {false, "", std::string(platform::KeyringMissing) + ": no bus", false};
        auto it = entries.find(service + "|" + key);
        if (it == entries.end()) return {false, "", "not found", true};
        return {true, it->second, "", false};
    }
    platform::KeyringResult erase(const std::string& service, const std::string& key) override {
        if (!answering)
            return {false, "", std::string(platform::KeyringMissing) + ": no bus", false};
        entries.erase(service + "|" + key);
        return {true, "", "", false};
    }
};

class KeyringPasswords : public ::testing::Test {
protected:
    void SetUp() override {
        Settings().DeleteAllSettings();
        before_ = platform::setKeyring(&keyring_);
        sset("PWD3", "pop secret");
        sset("SMTPPWD3", "smtp secret");
    }
    void TearDown() override {
        platform::setKeyring(before_);
        Settings().DeleteAllSettings();
    }
    bool inFile(const char* key) const {
        int position = 0;
        return Settings().SettingPresent(key, position) > 0;
    }
    FakeKeyring keyring_;
    platform::Keyring* before_ = nullptr;
    const Account account_{3};
};

TEST_F(KeyringPasswords, MoveInAndOutWithTheWritesBetween) {
    EXPECT_FALSE(PasswordsInKeyring(account_)) << "absent means the file, as always";
    ASSERT_EQ(KeepPasswordsInKeyring(account_, true), "");
    EXPECT_TRUE(PasswordsInKeyring(account_));
    EXPECT_FALSE(inFile("PWD3"));
    EXPECT_FALSE(inFile("SMTPPWD3"));
    EXPECT_EQ(keyring_.entries.size(), 2u);
    EXPECT_EQ(account_.password(), "pop secret");
    EXPECT_EQ(account_.smtpPassword(), "smtp secret");

    EXPECT_EQ(WritePassword(account_, "PWD", "changed"), "");
    EXPECT_FALSE(inFile("PWD3"));
    EXPECT_EQ(account_.password(), "changed");

    ASSERT_EQ(KeepPasswordsInKeyring(account_, false), "");
    EXPECT_FALSE(PasswordsInKeyring(account_));
    EXPECT_TRUE(keyring_.entries.empty());
    EXPECT_EQ(sget("PWD3", "").toText(), "changed");
    EXPECT_EQ(sget("SMTPPWD3", "").toText(), "smtp secret");
}

TEST_F(KeyringPasswords, NoServiceLeavesThePasswordsWhereTheyAre) {
    keyring_.answering = false;
    // The reason in the chosen language, the keyring's own words kept.
    SetShownTextTranslation([](const std::string& text) { return "<" + text + ">"; });
    EXPECT_EQ(KeepPasswordsInKeyring(account_, true),
              "<No desktop keyring is available>: no bus<; the passwords stay in Corva.ini>");
    SetShownTextTranslation(nullptr);
    EXPECT_FALSE(PasswordsInKeyring(account_));
    EXPECT_EQ(account_.password(), "pop secret");

    keyring_.answering = true;
    ASSERT_EQ(KeepPasswordsInKeyring(account_, true), "");
    keyring_.answering = false;
    EXPECT_NE(KeepPasswordsInKeyring(account_, false).find("stay in the keyring"),
              std::string::npos);
    EXPECT_TRUE(PasswordsInKeyring(account_));
    // A password that could not be read, written back unchanged, loses nothing.
    EXPECT_EQ(account_.password(), "");
    EXPECT_EQ(WritePassword(account_, "PWD", ""), "");
    keyring_.answering = true;
    EXPECT_EQ(account_.password(), "pop secret");
}

} // namespace
} // namespace corva
