// The cryptography the SSL 2.0 client needs, on libcrypto: MD5, RC4 from the
// legacy provider, RSA PKCS #1 v1.5 encryption and random bytes. Failures are
// RunErrors carrying libcrypto's error code as their number.
#pragma once

#include "smtp/Ssl2StreamKey.h"

#include <openssl/types.h>

#include <cstddef>
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
    Ssl2Crypto() = default;
    ~Ssl2Crypto();
    Ssl2Crypto(const Ssl2Crypto&) = delete;
    Ssl2Crypto& operator=(const Ssl2Crypto&) = delete;

    // Loads the legacy and default providers into a library context of our own
    // and fetches RC4 and MD5 there; failing that, takes them from the process's
    // context if it already offers them.
    bool acquire();
    void release();
    bool acquired() const { return rc4_ != nullptr && md5_ != nullptr; }

    std::string md5(const std::string& bytes) const;
    // Failure texts name the step that failed, as users of the client know them.
    Ssl2DerivedKey deriveKey(const std::string& material) const;
    // Never fails: a pseudo-random fill stays when the strong source refuses.
    std::string randomBytes(std::size_t count) const;
    // RSA PKCS #1 v1.5 encryption under the public key of a key blob (header,
    // then the modulus least significant byte first). The result is most
    // significant byte first, as long as the modulus.
    std::string encryptUnderBlob(const std::string& blob, const std::string& data) const;

private:
    bool tryAcquire(bool ownContext);

    OSSL_LIB_CTX* context_ = nullptr;
    bool ownContext_ = false;
    OSSL_PROVIDER* legacy_ = nullptr;
    OSSL_PROVIDER* default_ = nullptr;
    EVP_CIPHER* rc4_ = nullptr;
    EVP_MD* md5_ = nullptr;
};

} // namespace corva
