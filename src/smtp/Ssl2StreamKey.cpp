#include "smtp/Ssl2StreamKey.h"

#include "core/ErrorHandler.h"

#include <openssl/err.h>
#include <openssl/evp.h>

#include <utility>

namespace corva {

Ssl2StreamKey::~Ssl2StreamKey() {
    destroy();
}

Ssl2StreamKey::Ssl2StreamKey(Ssl2StreamKey&& other) noexcept
    : context_(std::exchange(other.context_, nullptr)) {}

Ssl2StreamKey& Ssl2StreamKey::operator=(Ssl2StreamKey&& other) noexcept {
    if (this != &other) {
        destroy();
        context_ = std::exchange(other.context_, nullptr);
    }
    return *this;
}

void Ssl2StreamKey::destroy() {
    if (context_) EVP_CIPHER_CTX_free(context_);
    context_ = nullptr;
}

std::string Ssl2StreamKey::apply(const std::string& bytes) {
    if (!context_) throw RunError(Err::InvalidCall, "No session key for the connection");
    std::string out(bytes.size(), '\0');
    if (bytes.empty()) return out;
    int written = 0;
    if (EVP_CipherUpdate(context_, reinterpret_cast<unsigned char*>(out.data()), &written,
                         reinterpret_cast<const unsigned char*>(bytes.data()),
                         static_cast<int>(bytes.size())) != 1 ||
        static_cast<size_t>(written) != bytes.size()) {
        ERR_clear_error();
        throw RunError(Err::InvalidCall, "Could not encrypt or decrypt a record");
    }
    return out;
}

} // namespace corva
