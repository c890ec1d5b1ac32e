#include "core/KeyringPasswords.h"

#include "core/ShownText.h"
#include "core/Variant.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "platform/Keyring.h"

#include <cstring>

namespace corva {

namespace {

constexpr const char* Service = "Corva";
const char* const Names[] = {"PWD", "SMTPPWD"};

// One entry per password and program folder, so two folders never share one.
std::string entry(const Account& account, const std::string& name) {
    return account.key(name) + " " + SettingsFilePath();
}

// The keyring's reason as a person reads it: its fixed part in the chosen
// language, the keyring's own words after it as they came.
std::string shownReason(const std::string& error) {
    using namespace platform;
    const std::pair<const char*, std::string> known[] = {
        {KeyringNoAnswer, ShownText(KeyringNoAnswer)}, {KeyringNoEntry, ShownText(KeyringNoEntry)},
        {KeyringMissing, ShownText(KeyringMissing)},   {KeyringRefused, ShownText(KeyringRefused)},
        {KeyringFailed, ShownText(KeyringFailed)},
    };
    for (const auto& [english, shown] : known)
        if (error.rfind(english, 0) == 0) return shown + error.substr(std::strlen(english));
    return error;
}

} // namespace

bool PasswordsInKeyring(const Account& account) {
    return sget(account.key("KEYRING"), false).toBool();
}

std::string ReadPassword(const Account& account, const std::string& name) {
    if (!PasswordsInKeyring(account)) return sget(account.key(name), "").toText();
    const platform::KeyringResult got = platform::keyring().read(Service, entry(account, name));
    if (!got.ok) LogAction(account.title() + ": " + got.error);
    return got.secret;
}

std::string WritePassword(const Account& account, const std::string& name,
                          const std::string& value) {
    if (!PasswordsInKeyring(account)) {
        sset(account.key(name), value);
        return "";
    }
    // Unchanged is left alone: a keyring that could not be read when the
    // value was shown must not lose the password it holds.
    if (ReadPassword(account, name) == value) return "";
    auto& keyring = platform::keyring();
    const platform::KeyringResult done = value.empty()
                                             ? keyring.erase(Service, entry(account, name))
                                             : keyring.store(Service, entry(account, name), value);
    return done.ok || value.empty() ? "" : shownReason(done.error);
}

std::string KeepPasswordsInKeyring(const Account& account, bool on) {
    if (on == PasswordsInKeyring(account)) return "";
    auto& keyring = platform::keyring();
    if (on) {
        for (const char* name : Names) {
            const std::string value = sget(account.key(name), "").toText();
            if (value.empty()) continue;
            const platform::KeyringResult done =
                keyring.store(Service, entry(account, name), value);
            if (!done.ok)
                return shownReason(done.error) + ShownText("; the passwords stay in Corva.ini");
        }
        for (const char* name : Names) Settings().DeleteSettingByName(account.key(name));
        sset(account.key("KEYRING"), true);
        return "";
    }
    std::string values[2];
    for (int i = 0; i < 2; ++i) {
        const platform::KeyringResult got = keyring.read(Service, entry(account, Names[i]));
        // An entry never stored is an empty password, not a failure.
        if (!got.ok && !got.notFound)
            return shownReason(got.error) + ShownText("; the passwords stay in the keyring");
        values[i] = got.secret;
    }
    for (int i = 0; i < 2; ++i) {
        if (!values[i].empty()) sset(account.key(Names[i]), values[i]);
        keyring.erase(Service, entry(account, Names[i]));
    }
    Settings().DeleteSettingByName(account.key("KEYRING"));
    return "";
}

} // namespace corva
