// The desktop keyring through QtKeychain (Secret Service or KWallet).
#pragma once

#include "platform/Keyring.h"

namespace corva::platform::qt {

class QtKeyring : public Keyring {
public:
    KeyringResult store(const std::string& service, const std::string& key,
                        const std::string& secret) override;
    KeyringResult read(const std::string& service, const std::string& key) override;
    KeyringResult erase(const std::string& service, const std::string& key) override;
};

} // namespace corva::platform::qt
