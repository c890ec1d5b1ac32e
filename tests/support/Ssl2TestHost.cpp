#include "support/Ssl2TestHost.h"

#include "support/ServerProcess.h"

#include <openssl/crypto.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/provider.h>
#include <openssl/rand.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <map>
#include <stdexcept>

namespace corva::test {

namespace {

// RC4 and MD5 come from a library context of the host's own, so that the
// client under test gets no help from providers the host loaded.
OSSL_LIB_CTX* cipherContext() {
    static OSSL_LIB_CTX* context = [] {
        OSSL_LIB_CTX* c = OSSL_LIB_CTX_new();
        if (!c || !OSSL_PROVIDER_load(c, "legacy") || !OSSL_PROVIDER_load(c, "default"))
            throw std::runtime_error("test host: no legacy provider for RC4");
        return c;
    }();
    return context;
}

const unsigned char* u(const std::string& s) {
    return reinterpret_cast<const unsigned char*>(s.data());
}

std::string md5(const std::string& bytes) {
    static EVP_MD* md = EVP_MD_fetch(cipherContext(), "MD5", nullptr);
    std::string out(16, '\0');
    unsigned int length = 0;
    if (!md || EVP_Digest(bytes.data(), bytes.size(), reinterpret_cast<unsigned char*>(out.data()),
                          &length, md, nullptr) != 1)
        throw std::runtime_error("test host: MD5 failed");
    return out;
}

EVP_CIPHER_CTX* rc4(const std::string& key) {
    static EVP_CIPHER* cipher = EVP_CIPHER_fetch(cipherContext(), "RC4", nullptr);
    EVP_CIPHER_CTX* ctx = EVP_CIPHER_CTX_new();
    if (!cipher || !ctx || EVP_CipherInit_ex2(ctx, cipher, u(key), nullptr, 1, nullptr) != 1)
        throw std::runtime_error("test host: RC4 failed");
    return ctx;
}

std::string runRc4(EVP_CIPHER_CTX* ctx, const std::string& bytes) {
    std::string out(bytes.size(), '\0');
    int written = 0;
    if (!bytes.empty() && EVP_CipherUpdate(ctx, reinterpret_cast<unsigned char*>(out.data()),
                                           &written, u(bytes), static_cast<int>(bytes.size())) != 1)
        throw std::runtime_error("test host: RC4 failed");
    return out;
}

std::string randomBytes(std::size_t n) {
    std::string out(n, '\0');
    RAND_bytes(reinterpret_cast<unsigned char*>(out.data()), static_cast<int>(n));
    return out;
}

std::string be16(std::size_t n) {
    return std::string{static_cast<char>((n >> 8) & 0xff), static_cast<char>(n & 0xff)};
}

std::string be32(std::uint32_t n) {
    return be16(n >> 16) + be16(n & 0xffff);
}

std::size_t at16(const std::string& s, std::size_t i) {
    if (i + 1 >= s.size()) return 0;
    return static_cast<unsigned char>(s[i]) * 256u + static_cast<unsigned char>(s[i + 1]);
}

const std::string OurCipher("\x01\x00\x80", 3);
constexpr std::size_t MaxRecordData = 32751;

} // namespace

const Ssl2ServerKey& Ssl2ServerKey::forBits(int bits) {
    // libcrypto's own clean-up at exit must come after the keys are freed, so
    // it is set up before the table that holds them.
    static const bool initialised = OPENSSL_init_crypto(0, nullptr) == 1;
    (void)initialised;
    static std::mutex mutex;
    static std::map<int, Ssl2ServerKey> made;
    std::lock_guard lock(mutex);
    auto found = made.find(bits);
    if (found != made.end()) return found->second;

    EVP_PKEY* key = EVP_PKEY_Q_keygen(nullptr, nullptr, "RSA", static_cast<std::size_t>(bits));
    X509* cert = X509_new();
    if (!key || !cert) throw std::runtime_error("test host: key generation failed");
    X509_set_version(cert, 2);
    ASN1_INTEGER_set(X509_get_serialNumber(cert), 1);
    X509_gmtime_adj(X509_getm_notBefore(cert), 0);
    X509_gmtime_adj(X509_getm_notAfter(cert), 24 * 3600);
    X509_set_pubkey(cert, key);
    X509_NAME* name = X509_get_subject_name(cert);
    X509_NAME_add_entry_by_txt(name, "CN", MBSTRING_ASC,
                               reinterpret_cast<const unsigned char*>("127.0.0.1"), -1, -1, 0);
    X509_set_issuer_name(cert, name);
    if (X509_sign(cert, key, EVP_sha256()) <= 0)
        throw std::runtime_error("test host: certificate signing failed");
    int length = i2d_X509(cert, nullptr);
    std::string der(static_cast<std::size_t>(length), '\0');
    unsigned char* p = reinterpret_cast<unsigned char*>(der.data());
    i2d_X509(cert, &p);
    X509_free(cert);

    Ssl2ServerKey& entry = made[bits];
    entry.key = key;
    entry.certificate = der;
    return entry;
}

Ssl2ServerKey::~Ssl2ServerKey() {
    EVP_PKEY_free(static_cast<EVP_PKEY*>(key));
}

struct Ssl2ServerSession::Keys {
    EVP_CIPHER_CTX* read = nullptr;
    EVP_CIPHER_CTX* write = nullptr;
    std::string readSecret;
    std::string writeSecret;
    ~Keys() {
        EVP_CIPHER_CTX_free(read);
        EVP_CIPHER_CTX_free(write);
    }
};

Ssl2ServerSession::Ssl2ServerSession(const Ssl2ServerKey& key) : key_(key) {}
Ssl2ServerSession::~Ssl2ServerSession() = default;

void Ssl2ServerSession::setSequences(std::uint32_t send, std::uint32_t receive) {
    sendSequence_ = send;
    receiveSequence_ = receive;
}

std::vector<std::string> Ssl2ServerSession::feed(const std::string& bytes) {
    std::vector<std::string> out;
    pending_ += bytes;
    while (pending_.size() >= 2) {
        unsigned first = static_cast<unsigned char>(pending_[0]);
        if (first < 128) fault("record without the two-byte header");
        std::size_t length = (first & 0x7f) * 256u + static_cast<unsigned char>(pending_[1]);
        if (pending_.size() < 2 + length) break;
        std::string body = pending_.substr(2, length);
        pending_.erase(0, 2 + length);
        handle(body, out);
    }
    return out;
}

std::string Ssl2ServerSession::clear(const std::string& body) {
    ++sendSequence_;
    return std::string{static_cast<char>(0x80 | (body.size() >> 8)),
                       static_cast<char>(body.size() & 0xff)} +
           body;
}

std::string Ssl2ServerSession::sealed(const std::string& data, bool spoilMac) {
    std::string mac = md5(keys_->writeSecret + data + be32(sendSequence_));
    if (spoilMac) mac[3] = static_cast<char>(mac[3] ^ 0x40);
    return clear(runRc4(keys_->write, mac + data));
}

std::string Ssl2ServerSession::dataRecord(const std::string& data, bool spoilMac) {
    return sealed(data, spoilMac);
}

bool Ssl2ServerSession::openSealed(const std::string& body, std::string& data) {
    std::uint32_t sequence = receiveSequence_++;
    if (!keys_) {
        fault("encrypted record before the keys were agreed");
        return false;
    }
    std::string plain = runRc4(keys_->read, body);
    if (plain.size() < 16) {
        ++report_.badMacs;
        return false;
    }
    data = plain.substr(16);
    if (plain.compare(0, 16, md5(keys_->readSecret + data + be32(sequence))) != 0) {
        ++report_.badMacs;
        return false;
    }
    ++report_.goodMacs;
    return true;
}

void Ssl2ServerSession::handle(const std::string& body, std::vector<std::string>& out) {
    switch (stage_) {
    case 0: { // CLIENT-HELLO
        ++receiveSequence_;
        if (body.size() < 9 || body[0] != 1 || at16(body, 1) != 2) {
            fault("not a version 2 CLIENT-HELLO");
            return;
        }
        std::size_t specs = at16(body, 3), session = at16(body, 5), challenge = at16(body, 7);
        if (body.substr(9, specs) != OurCipher) fault("cipher specs other than RC4 128 with MD5");
        if (challenge < 16 || challenge > 32) fault("challenge of a wrong length");
        challenge_ = body.substr(9 + specs + session, challenge);
        connectionId_ = randomBytes(16);
        const std::string& cert = key_.certificate;
        out.push_back(clear(std::string("\x04\x00\x01\x00\x02", 5) + be16(cert.size()) +
                            be16(OurCipher.size()) + be16(connectionId_.size()) + cert + OurCipher +
                            connectionId_));
        stage_ = 1;
        return;
    }
    case 1: { // CLIENT-MASTER-KEY
        ++receiveSequence_;
        if (body.size() < 10 || body[0] != 2 || body.substr(1, 3) != OurCipher) {
            fault("not a CLIENT-MASTER-KEY for our cipher");
            return;
        }
        std::size_t clearLength = at16(body, 4), encryptedLength = at16(body, 6);
        std::string clearKey = body.substr(10, clearLength);
        std::string encrypted = body.substr(10 + clearLength, encryptedLength);
        EVP_PKEY_CTX* ctx =
            EVP_PKEY_CTX_new(static_cast<EVP_PKEY*>(const_cast<void*>(key_.key)), nullptr);
        std::string secret(256, '\0');
        std::size_t length = secret.size();
        bool ok = ctx && EVP_PKEY_decrypt_init(ctx) == 1 &&
                  EVP_PKEY_CTX_set_rsa_padding(ctx, RSA_PKCS1_PADDING) == 1 &&
                  EVP_PKEY_decrypt(ctx, reinterpret_cast<unsigned char*>(secret.data()), &length,
                                   u(encrypted), encrypted.size()) == 1;
        EVP_PKEY_CTX_free(ctx);
        ERR_clear_error();
        if (!ok) {
            fault("master key does not decrypt");
            return;
        }
        std::string master = clearKey + secret.substr(0, length);
        if (master.size() != 16) fault("master key not 16 bytes");
        keys_ = std::make_unique<Keys>();
        std::string tail = challenge_ + connectionId_;
        keys_->writeSecret = md5(master + "0" + tail);
        keys_->readSecret = md5(master + "1" + tail);
        keys_->write = rc4(keys_->writeSecret);
        keys_->read = rc4(keys_->readSecret);
        std::string echoed = spoilVerify_ ? randomBytes(challenge_.size()) : challenge_;
        out.push_back(sealed("\x05" + echoed));
        stage_ = 2;
        return;
    }
    case 2: { // CLIENT-FINISHED
        std::string data;
        if (!openSealed(body, data)) return;
        if (data != "\x03" + connectionId_) fault("CLIENT-FINISHED without our connection id");
        out.push_back(sealed("\x06" + randomBytes(16)));
        report_.handshakeDone = true;
        stage_ = 3;
        return;
    }
    default: {
        std::string data;
        if (!openSealed(body, data)) return;
        report_.recordSizes.push_back(data.size());
        report_.received += data;
        for (std::size_t at = 0; at < data.size(); at += MaxRecordData)
            out.push_back(sealed(data.substr(at, MaxRecordData)));
    }
    }
}

Ssl2TestHost::Ssl2TestHost() : Ssl2TestHost(Options{}) {}

Ssl2TestHost::Ssl2TestHost(Options options)
    : options_(options), key_(Ssl2ServerKey::forBits(options.keyBits)) {
    listener_ = listenOnLoopback(port_);
    if (listener_ < 0) throw std::runtime_error("test host: cannot listen on 127.0.0.1");
    thread_ = std::thread([this] { run(); });
}

Ssl2TestHost::~Ssl2TestHost() {
    stop_ = true;
    if (thread_.joinable()) thread_.join();
    ::close(listener_);
}

Ssl2SessionReport Ssl2TestHost::report() const {
    std::lock_guard lock(mutex_);
    return report_;
}

void Ssl2TestHost::run() {
    while (!stop_) {
        pollfd p{listener_, POLLIN, 0};
        if (::poll(&p, 1, 20) <= 0) continue;
        int fd = ::accept(listener_, nullptr, nullptr);
        if (fd < 0) continue;
        serve(fd);
        ::close(fd);
    }
}

void Ssl2TestHost::serve(int fd) {
    Ssl2ServerSession session(key_);
    {
        std::lock_guard lock(mutex_);
        report_ = {};
    }
    auto lastHeard = std::chrono::steady_clock::now();
    char buffer[16384];
    while (!stop_) {
        pollfd p{fd, POLLIN, 0};
        if (::poll(&p, 1, 20) <= 0) {
            auto silent = std::chrono::steady_clock::now() - lastHeard;
            if (options_.idleCloseMs > 0 &&
                silent > std::chrono::milliseconds(options_.idleCloseMs))
                return;
            continue;
        }
        ssize_t n = ::recv(fd, buffer, sizeof buffer, 0);
        if (n <= 0) return;
        lastHeard = std::chrono::steady_clock::now();
        std::vector<std::string> replies;
        try {
            replies = session.feed(std::string(buffer, static_cast<std::size_t>(n)));
        } catch (const std::exception& e) {
            std::lock_guard lock(mutex_);
            report_.faults.push_back(e.what());
            return;
        }
        {
            std::lock_guard lock(mutex_);
            report_ = session.report();
        }
        for (const std::string& record : replies) {
            std::size_t sent = 0;
            while (sent < record.size()) {
                ssize_t k = ::send(fd, record.data() + sent, record.size() - sent, MSG_NOSIGNAL);
                if (k <= 0) return;
                sent += static_cast<std::size_t>(k);
            }
        }
    }
}

} // namespace corva::test
