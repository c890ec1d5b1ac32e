// The desktop's keyring (Secret Service or KWallet), where an account keeps
// its passwords when its user asks for it. Entries are found by a service
// name and a key. The default keyring answers that there is none, so the
// logic runs the same without a desktop.
#pragma once

#include <string>

namespace corva::platform {

// Why a keyring failed, in English as the log keeps it: one of these, then
// ": " and the keyring's own words when it gave any. The logic shows the
// fixed part in the chosen language.
inline constexpr const char* KeyringNoAnswer = "The desktop keyring did not answer";
inline constexpr const char* KeyringNoEntry = "The desktop keyring holds no such password";
inline constexpr const char* KeyringMissing = "No desktop keyring is available";
inline constexpr const char* KeyringRefused = "The desktop keyring refused access";
inline constexpr const char* KeyringFailed = "The desktop keyring failed";

struct KeyringResult {
    bool ok = false;
    std::string secret;    // what read found
    std::string error;     // why it failed, as above
    bool notFound = false; // nothing is stored under the key
};

class Keyring {
public:
    virtual ~Keyring() = default;
    virtual KeyringResult store(const std::string& service, const std::string& key,
                                const std::string& secret);
    virtual KeyringResult read(const std::string& service, const std::string& key);
    virtual KeyringResult erase(const std::string& service, const std::string& key);
};

// The keyring in force: the one the platform installed, else the default.
Keyring& keyring();
// Installs a keyring (not owned); nullptr restores the default. Returns the
// one installed before, so a test can put it back.
Keyring* setKeyring(Keyring* keyring);

} // namespace corva::platform
