#include "platform/Keyring.h"

namespace corva::platform {

namespace {

KeyringResult none() {
    return {false, "", "No desktop keyring is available"};
}

Keyring* installed = nullptr;

} // namespace

KeyringResult Keyring::store(const std::string&, const std::string&, const std::string&) {
    return none();
}

KeyringResult Keyring::read(const std::string&, const std::string&) {
    return none();
}

KeyringResult Keyring::erase(const std::string&, const std::string&) {
    return none();
}

Keyring& keyring() {
    static Keyring plain;
    return installed ? *installed : plain;
}

Keyring* setKeyring(Keyring* keyring) {
    Keyring* before = installed;
    installed = keyring;
    return before;
}

} // namespace corva::platform
