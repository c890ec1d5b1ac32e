#include "smtp/Ssl2Crypto.h"

#include "core/ErrorHandler.h"

#include <openssl/core_names.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/provider.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>

#include <algorithm>
#include <memory>
#include <random>

namespace corva {

namespace {

// libcrypto's packed error code, as the number of the run-time error.
int takeCryptoError() {
    unsigned long code = ERR_get_error();
    ERR_clear_error();
    return code ? static_cast<int>(code & 0x7fffffff) : Err::InvalidCall;
}

const unsigned char* bytesOf(const std::string& s) {
    return reinterpret_cast<const unsigned char*>(s.data());
}

std::uint32_t littleEndian32(const std::string& s, std::size_t at) {
    std::uint32_t v = 0;
    for (int i = 3; i >= 0; --i) v = (v << 8) | static_cast<unsigned char>(s[at + i]);
    return v;
}

struct Free {
    void operator()(EVP_MD_CTX* p) const { EVP_MD_CTX_free(p); }
    void operator()(EVP_CIPHER_CTX* p) const { EVP_CIPHER_CTX_free(p); }
    void operator()(EVP_PKEY* p) const { EVP_PKEY_free(p); }
    void operator()(EVP_PKEY_CTX* p) const { EVP_PKEY_CTX_free(p); }
    void operator()(BIGNUM* p) const { BN_free(p); }
    void operator()(OSSL_PARAM_BLD* p) const { OSSL_PARAM_BLD_free(p); }
    void operator()(OSSL_PARAM* p) const { OSSL_PARAM_free(p); }
};
template <class T> using Owned = std::unique_ptr<T, Free>;

} // namespace

Ssl2Crypto::~Ssl2Crypto() {
    release();
}

bool Ssl2Crypto::acquire() {
    if (acquired()) return true;
    return tryAcquire(true) || tryAcquire(false);
}

bool Ssl2Crypto::tryAcquire(bool ownContext) {
    release();
    ownContext_ = ownContext;
    if (ownContext) {
        context_ = OSSL_LIB_CTX_new();
        legacy_ = context_ ? OSSL_PROVIDER_load(context_, "legacy") : nullptr;
        default_ = context_ ? OSSL_PROVIDER_load(context_, "default") : nullptr;
    }
    // The process's shared context is only asked, never changed: loading and
    // unloading providers there would change what the rest of the program gets.
    if (!ownContext || (legacy_ && default_)) {
        rc4_ = EVP_CIPHER_fetch(context_, "RC4", nullptr);
        md5_ = EVP_MD_fetch(context_, "MD5", nullptr);
    }
    ERR_clear_error();
    if (acquired()) return true;
    release();
    return false;
}

void Ssl2Crypto::release() {
    EVP_CIPHER_free(rc4_);
    EVP_MD_free(md5_);
    rc4_ = nullptr;
    md5_ = nullptr;
    if (legacy_) OSSL_PROVIDER_unload(legacy_);
    if (default_) OSSL_PROVIDER_unload(default_);
    legacy_ = nullptr;
    default_ = nullptr;
    if (ownContext_ && context_) OSSL_LIB_CTX_free(context_);
    context_ = nullptr;
    ownContext_ = false;
}

std::string Ssl2Crypto::md5(const std::string& bytes) const {
    std::string out(16, '\0');
    unsigned int length = 0;
    if (!md5_ ||
        EVP_Digest(bytes.data(), bytes.size(), reinterpret_cast<unsigned char*>(out.data()),
                   &length, md5_, nullptr) != 1)
        throw RunError(takeCryptoError(), "Could not calculate a Hash Value");
    return out;
}

Ssl2DerivedKey Ssl2Crypto::deriveKey(const std::string& material) const {
    Owned<EVP_MD_CTX> hash(EVP_MD_CTX_new());
    if (!hash || !md5_ || EVP_DigestInit_ex2(hash.get(), md5_, nullptr) != 1)
        throw RunError(takeCryptoError(), "Could not create a Hash Object (CryptCreateHash API)");
    Ssl2DerivedKey key;
    key.secret.assign(16, '\0');
    unsigned int length = 0;
    if (EVP_DigestUpdate(hash.get(), material.data(), material.size()) != 1 ||
        EVP_DigestFinal_ex(hash.get(), reinterpret_cast<unsigned char*>(key.secret.data()),
                           &length) != 1)
        throw RunError(takeCryptoError(), "Could not calculate a Hash Value (CryptHashData API)");

    Owned<EVP_CIPHER_CTX> cipher(EVP_CIPHER_CTX_new());
    // RC4's cipher context is the same for both directions; encrypting is chosen
    // only because the init needs some direction.
    if (!cipher || !rc4_ ||
        EVP_CipherInit_ex2(cipher.get(), rc4_, nullptr, nullptr, 1, nullptr) != 1 ||
        EVP_CIPHER_CTX_set_key_length(cipher.get(), 16) != 1 ||
        EVP_CipherInit_ex2(cipher.get(), nullptr, bytesOf(key.secret), nullptr, 1, nullptr) != 1)
        throw RunError(takeCryptoError(), "Could not create a session key (CryptDeriveKey API)");
    key.stream = Ssl2StreamKey(cipher.release());
    return key;
}

std::string Ssl2Crypto::randomBytes(std::size_t count) const {
    std::string out(count, '\0');
    std::random_device entropy;
    std::mt19937 weak(entropy());
    for (char& c : out) c = static_cast<char>(weak() & 0xff);
    if (count > 0 &&
        RAND_bytes_ex(context_, reinterpret_cast<unsigned char*>(out.data()), count, 0) != 1)
        ERR_clear_error();
    return out;
}

std::string Ssl2Crypto::encryptUnderBlob(const std::string& blob, const std::string& data) const {
    // PUBLICKEYBLOB header: type 06, version 02, reserved, algorithm, "RSA1",
    // bit length and exponent, all little-endian.
    const int importFailed = Err::InvalidCall;
    const char* importText = "Could not import the server's public key (CryptImportKey API)";
    if (blob.size() < 20 || blob[0] != 0x06 || blob.compare(8, 4, "RSA1") != 0)
        throw RunError(importFailed, importText);
    std::uint32_t bits = littleEndian32(blob, 12);
    std::uint32_t exponent = littleEndian32(blob, 16);
    std::size_t modulusLength = bits / 8;
    if (bits == 0 || bits % 8 != 0 || blob.size() < 20 + modulusLength)
        throw RunError(importFailed, importText);
    std::string modulus = blob.substr(20, modulusLength);
    std::reverse(modulus.begin(), modulus.end());

    Owned<BIGNUM> n(BN_bin2bn(bytesOf(modulus), static_cast<int>(modulus.size()), nullptr));
    Owned<BIGNUM> e(BN_new());
    Owned<OSSL_PARAM_BLD> build(OSSL_PARAM_BLD_new());
    if (!n || !e || !build || BN_set_word(e.get(), exponent) != 1 ||
        OSSL_PARAM_BLD_push_BN(build.get(), OSSL_PKEY_PARAM_RSA_N, n.get()) != 1 ||
        OSSL_PARAM_BLD_push_BN(build.get(), OSSL_PKEY_PARAM_RSA_E, e.get()) != 1)
        throw RunError(takeCryptoError(), importText);
    Owned<OSSL_PARAM> params(OSSL_PARAM_BLD_to_param(build.get()));
    Owned<EVP_PKEY_CTX> fromData(EVP_PKEY_CTX_new_from_name(context_, "RSA", nullptr));
    EVP_PKEY* raw = nullptr;
    if (!params || !fromData || EVP_PKEY_fromdata_init(fromData.get()) != 1 ||
        EVP_PKEY_fromdata(fromData.get(), &raw, EVP_PKEY_PUBLIC_KEY, params.get()) != 1)
        throw RunError(takeCryptoError(), importText);
    Owned<EVP_PKEY> key(raw);

    Owned<EVP_PKEY_CTX> enc(EVP_PKEY_CTX_new_from_pkey(context_, key.get(), nullptr));
    std::size_t length = 0;
    if (!enc || EVP_PKEY_encrypt_init(enc.get()) != 1 ||
        EVP_PKEY_CTX_set_rsa_padding(enc.get(), RSA_PKCS1_PADDING) != 1 ||
        EVP_PKEY_encrypt(enc.get(), nullptr, &length, bytesOf(data), data.size()) != 1)
        throw RunError(takeCryptoError(), "Could not export the session key (CryptExportKey API)");
    std::string out(length, '\0');
    if (EVP_PKEY_encrypt(enc.get(), reinterpret_cast<unsigned char*>(out.data()), &length,
                         bytesOf(data), data.size()) != 1)
        throw RunError(takeCryptoError(), "Could not export the session key (CryptExportKey API)");
    out.resize(length);
    return out;
}

} // namespace corva
