// The cryptography the SSL 2.0 client needs: MD5, RC4, RSA PKCS #1 v1.5
// encryption and random bytes, over the platform's crypto. Failures are
// RunErrors carrying the crypto library's error code as their number.
#pragma once

#include "platform/Crypto.h"
#include "smtp/Ssl2StreamKey.h"

#include <cstddef>
#include <memory>
#include <string>

namespace corva {

// A key as the handshake derives it: the RC4 stream keyed by the MD5 of some
// material, and that MD5 itself, which also serves as MAC secret.
struct Ssl2DerivedKey {
    Ssl2StreamKey stream;
    std::string secret;
};

class Ssl2Crypto {
public:
    Ssl2Crypto();

    bool acquire() { return crypto_->acquire(); }
    void release() { crypto_->release(); }
    bool acquired() const { return crypto_->acquired(); }

    std::string md5(const std::string& bytes) const;
    // Failure texts name the step that failed, as users of the client know them.
    Ssl2DerivedKey deriveKey(const std::string& material) const;
    // Never fails: a pseudo-random fill stays when the strong source refuses.
    std::string randomBytes(std::size_t count) const { return crypto_->randomBytes(count); }
    // RSA PKCS #1 v1.5 encryption under the public key of a key blob (header,
    // then the modulus least significant byte first). The result is most
    // significant byte first, as long as the modulus.
    std::string encryptUnderBlob(const std::string& blob, const std::string& data) const;

private:
    [[noreturn]] void fail(const char* text) const;

    std::unique_ptr<platform::LegacyCrypto> crypto_;
};

} // namespace corva
