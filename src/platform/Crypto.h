// The few cryptographic primitives the SSL 2.0 client needs, as plain C++, so
// that no crypto library's types reach the logic. The implementation on
// libcrypto lives in src/platform/crypto.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace corva::platform {

// One direction of an RC4 stream. The cipher state runs on from call to call.
class StreamCipher {
public:
    virtual ~StreamCipher() = default;
    // Encrypts or decrypts (the same for a stream cipher); empty when the
    // library refused.
    virtual std::optional<std::string> apply(const std::string& bytes) = 0;
};

struct RsaResult {
    enum class Status { Done, KeyRefused, EncryptFailed };
    Status status = Status::Done;
    std::string bytes;
};

// Failures come back empty; lastError() then holds the library's own code for
// the failure, or 0 when it gave none.
class LegacyCrypto {
public:
    virtual ~LegacyCrypto() = default;
    // Makes MD5 and RC4 available; they are legacy algorithms a library may
    // only offer on request.
    virtual bool acquire() = 0;
    virtual void release() = 0;
    virtual bool acquired() const = 0;

    virtual std::optional<std::string> md5(const std::string& bytes) = 0;
    virtual std::unique_ptr<StreamCipher> rc4(const std::string& key) = 0;
    // Never fails: a pseudo-random fill stays when the strong source refuses.
    virtual std::string randomBytes(std::size_t count) = 0;
    // RSA PKCS #1 v1.5 encryption; the modulus and the result are most
    // significant byte first.
    virtual RsaResult rsaEncrypt(const std::string& modulus, std::uint32_t exponent,
                                 const std::string& data) = 0;
    virtual int lastError() const = 0;
};

std::unique_ptr<LegacyCrypto> createLegacyCrypto();

// The SHA-256 digest of bytes as 64 lower-case hex digits; "" if the library
// refused.
std::string sha256Hex(const std::string& bytes);

} // namespace corva::platform
