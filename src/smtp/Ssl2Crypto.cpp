#include "smtp/Ssl2Crypto.h"

#include "core/ErrorHandler.h"

#include <algorithm>
#include <cstdint>

namespace corva {

namespace {

std::uint32_t littleEndian32(const std::string& s, std::size_t at) {
    std::uint32_t v = 0;
    for (std::size_t i = 4; i-- > 0;) v = (v << 8) | static_cast<unsigned char>(s[at + i]);
    return v;
}

} // namespace

Ssl2Crypto::Ssl2Crypto() : crypto_(platform::createLegacyCrypto()) {}

void Ssl2Crypto::fail(const char* text) const {
    int code = crypto_->lastError();
    throw RunError(code ? code : Err::InvalidCall, text);
}

std::string Ssl2Crypto::md5(const std::string& bytes) const {
    std::optional<std::string> digest = crypto_->md5(bytes);
    if (!digest) fail("Could not calculate a Hash Value");
    return std::move(*digest);
}

Ssl2DerivedKey Ssl2Crypto::deriveKey(const std::string& material) const {
    if (!crypto_->acquired()) fail("Could not create a Hash Object (CryptCreateHash API)");
    std::optional<std::string> digest = crypto_->md5(material);
    if (!digest) fail("Could not calculate a Hash Value (CryptHashData API)");
    Ssl2DerivedKey key;
    key.secret = std::move(*digest);
    std::unique_ptr<platform::StreamCipher> stream = crypto_->rc4(key.secret);
    if (!stream) fail("Could not create a session key (CryptDeriveKey API)");
    key.stream = Ssl2StreamKey(std::move(stream));
    return key;
}

std::string Ssl2Crypto::encryptUnderBlob(const std::string& blob, const std::string& data) const {
    // PUBLICKEYBLOB header: type 06, version 02, reserved, algorithm, "RSA1",
    // bit length and exponent, all little-endian.
    const char* importText = "Could not import the server's public key (CryptImportKey API)";
    if (blob.size() < 20 || blob[0] != 0x06 || blob.compare(8, 4, "RSA1") != 0)
        throw RunError(Err::InvalidCall, importText);
    std::uint32_t bits = littleEndian32(blob, 12);
    std::uint32_t exponent = littleEndian32(blob, 16);
    std::size_t modulusLength = bits / 8;
    if (bits == 0 || bits % 8 != 0 || blob.size() < 20 + modulusLength)
        throw RunError(Err::InvalidCall, importText);
    std::string modulus = blob.substr(20, modulusLength);
    std::reverse(modulus.begin(), modulus.end());
    platform::RsaResult sealed = crypto_->rsaEncrypt(modulus, exponent, data);
    if (sealed.status == platform::RsaResult::Status::KeyRefused) fail(importText);
    if (sealed.status != platform::RsaResult::Status::Done)
        fail("Could not export the session key (CryptExportKey API)");
    return std::move(sealed.bytes);
}

} // namespace corva
