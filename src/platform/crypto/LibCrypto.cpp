// The legacy crypto primitives on libcrypto. MD5 and RC4 sit in OpenSSL 3's
// legacy provider, which is loaded into a library context of our own.
#include "platform/Crypto.h"

#include <openssl/core_names.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/provider.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>

#include <random>
#include <utility>

namespace corva::platform {

namespace {

const unsigned char* bytesOf(const std::string& s) {
    return reinterpret_cast<const unsigned char*>(s.data());
}

unsigned char* bytesOf(std::string& s) {
    return reinterpret_cast<unsigned char*>(s.data());
}

struct Free {
    void operator()(EVP_CIPHER_CTX* p) const { EVP_CIPHER_CTX_free(p); }
    void operator()(EVP_PKEY* p) const { EVP_PKEY_free(p); }
    void operator()(EVP_PKEY_CTX* p) const { EVP_PKEY_CTX_free(p); }
    void operator()(BIGNUM* p) const { BN_free(p); }
    void operator()(OSSL_PARAM_BLD* p) const { OSSL_PARAM_BLD_free(p); }
    void operator()(OSSL_PARAM* p) const { OSSL_PARAM_free(p); }
};
template <class T> using Owned = std::unique_ptr<T, Free>;

class Rc4Stream : public StreamCipher {
public:
    explicit Rc4Stream(EVP_CIPHER_CTX* context) : context_(context) {}

    std::optional<std::string> apply(const std::string& bytes) override {
        std::string out(bytes.size(), '\0');
        if (bytes.empty()) return out;
        int written = 0;
        if (EVP_CipherUpdate(context_.get(), bytesOf(out), &written, bytesOf(bytes),
                             static_cast<int>(bytes.size())) != 1 ||
            static_cast<std::size_t>(written) != bytes.size()) {
            ERR_clear_error();
            return std::nullopt;
        }
        return out;
    }

private:
    Owned<EVP_CIPHER_CTX> context_;
};

class LibCrypto : public LegacyCrypto {
public:
    ~LibCrypto() override { release(); }

    bool acquire() override {
        if (acquired()) return true;
        return tryAcquire(true) || tryAcquire(false);
    }

    void release() override {
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

    bool acquired() const override { return rc4_ != nullptr && md5_ != nullptr; }

    std::optional<std::string> md5(const std::string& bytes) override {
        std::string out(16, '\0');
        unsigned int length = 0;
        if (!md5_ ||
            EVP_Digest(bytes.data(), bytes.size(), bytesOf(out), &length, md5_, nullptr) != 1)
            return failed();
        return out;
    }

    std::unique_ptr<StreamCipher> rc4(const std::string& key) override {
        Owned<EVP_CIPHER_CTX> cipher(EVP_CIPHER_CTX_new());
        // RC4's context is the same for both directions; encrypting is chosen
        // only because the init needs some direction.
        if (!cipher || !rc4_ ||
            EVP_CipherInit_ex2(cipher.get(), rc4_, nullptr, nullptr, 1, nullptr) != 1 ||
            EVP_CIPHER_CTX_set_key_length(cipher.get(), static_cast<int>(key.size())) != 1 ||
            EVP_CipherInit_ex2(cipher.get(), nullptr, bytesOf(key), nullptr, 1, nullptr) != 1) {
            failed();
            return nullptr;
        }
        return std::make_unique<Rc4Stream>(cipher.release());
    }

    std::string randomBytes(std::size_t count) override {
        std::string out(count, '\0');
        std::random_device entropy;
        std::mt19937 weak(entropy());
        for (char& c : out) c = static_cast<char>(weak() & 0xff);
        if (count > 0 && RAND_bytes_ex(context_, bytesOf(out), count, 0) != 1) ERR_clear_error();
        return out;
    }

    RsaResult rsaEncrypt(const std::string& modulus, std::uint32_t exponent,
                         const std::string& data) override {
        Owned<BIGNUM> n(BN_bin2bn(bytesOf(modulus), static_cast<int>(modulus.size()), nullptr));
        Owned<BIGNUM> e(BN_new());
        Owned<OSSL_PARAM_BLD> build(OSSL_PARAM_BLD_new());
        if (!n || !e || !build || BN_set_word(e.get(), exponent) != 1 ||
            OSSL_PARAM_BLD_push_BN(build.get(), OSSL_PKEY_PARAM_RSA_N, n.get()) != 1 ||
            OSSL_PARAM_BLD_push_BN(build.get(), OSSL_PKEY_PARAM_RSA_E, e.get()) != 1)
            return failed(RsaResult::Status::KeyRefused);
        Owned<OSSL_PARAM> params(OSSL_PARAM_BLD_to_param(build.get()));
        Owned<EVP_PKEY_CTX> fromData(EVP_PKEY_CTX_new_from_name(context_, "RSA", nullptr));
        EVP_PKEY* raw = nullptr;
        if (!params || !fromData || EVP_PKEY_fromdata_init(fromData.get()) != 1 ||
            EVP_PKEY_fromdata(fromData.get(), &raw, EVP_PKEY_PUBLIC_KEY, params.get()) != 1)
            return failed(RsaResult::Status::KeyRefused);
        Owned<EVP_PKEY> key(raw);

        Owned<EVP_PKEY_CTX> enc(EVP_PKEY_CTX_new_from_pkey(context_, key.get(), nullptr));
        std::size_t length = 0;
        if (!enc || EVP_PKEY_encrypt_init(enc.get()) != 1 ||
            EVP_PKEY_CTX_set_rsa_padding(enc.get(), RSA_PKCS1_PADDING) != 1 ||
            EVP_PKEY_encrypt(enc.get(), nullptr, &length, bytesOf(data), data.size()) != 1)
            return failed(RsaResult::Status::EncryptFailed);
        std::string out(length, '\0');
        if (EVP_PKEY_encrypt(enc.get(), bytesOf(out), &length, bytesOf(data), data.size()) != 1)
            return failed(RsaResult::Status::EncryptFailed);
        out.resize(length);
        return {RsaResult::Status::Done, std::move(out)};
    }

    int lastError() const override { return lastError_; }

private:
    bool tryAcquire(bool ownContext) {
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

    // Keeps libcrypto's packed error code and clears its queue.
    std::nullopt_t failed() {
        unsigned long code = ERR_get_error();
        ERR_clear_error();
        lastError_ = static_cast<int>(code & 0x7fffffff);
        return std::nullopt;
    }

    RsaResult failed(RsaResult::Status status) {
        failed();
        return {status, {}};
    }

    OSSL_LIB_CTX* context_ = nullptr;
    bool ownContext_ = false;
    OSSL_PROVIDER* legacy_ = nullptr;
    OSSL_PROVIDER* default_ = nullptr;
    EVP_CIPHER* rc4_ = nullptr;
    EVP_MD* md5_ = nullptr;
    int lastError_ = 0;
};

} // namespace

std::unique_ptr<LegacyCrypto> createLegacyCrypto() {
    return std::make_unique<LibCrypto>();
}

std::string sha256Hex(const std::string& bytes) {
    unsigned char digest[EVP_MAX_MD_SIZE];
    unsigned int length = 0;
    if (EVP_Digest(bytes.data(), bytes.size(), digest, &length, EVP_sha256(), nullptr) != 1) {
        ERR_clear_error();
        return "";
    }
    static const char* hex = "0123456789abcdef";
    std::string out;
    for (unsigned int i = 0; i < length; ++i) {
        out += hex[digest[i] >> 4];
        out += hex[digest[i] & 15];
    }
    return out;
}

} // namespace corva::platform
