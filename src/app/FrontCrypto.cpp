// The cryptography of the corva program: none. Score and train never speak
// SSL 2.0 nor check a download, yet the session they share with corva-qt
// reaches code that could; answering here as a library that refuses keeps
// libcrypto (and its start-up cost) out of this program.
#include "platform/Crypto.h"

#include <random>

namespace corva::platform {
namespace {

class RefusingCrypto final : public LegacyCrypto {
public:
    bool acquire() override { return false; }
    void release() override {}
    bool acquired() const override { return false; }
    std::optional<std::string> md5(const std::string&) override { return std::nullopt; }
    std::unique_ptr<StreamCipher> rc4(const std::string&) override { return nullptr; }
    std::string randomBytes(std::size_t count) override {
        std::random_device source;
        std::string bytes(count, '\0');
        for (char& b : bytes) b = static_cast<char>(source());
        return bytes;
    }
    RsaResult rsaEncrypt(const std::string&, std::uint32_t, const std::string&) override {
        return {RsaResult::Status::KeyRefused, {}};
    }
    int lastError() const override { return 0; }
};

} // namespace

std::unique_ptr<LegacyCrypto> createLegacyCrypto() {
    return std::make_unique<RefusingCrypto>();
}

std::string sha256Hex(const std::string&) {
    return {};
}

} // namespace corva::platform
