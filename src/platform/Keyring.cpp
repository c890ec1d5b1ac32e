#include "platform/Keyring.h"
#include "platform/Installed.h"

namespace corva::platform {

namespace {

KeyringResult none() {
    return {false, "", KeyringMissing};
}

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
    return Installed<Keyring>::get();
}

Keyring* setKeyring(Keyring* keyring) {
    return Installed<Keyring>::set(keyring);
}

} // namespace corva::platform
