#include "smtp/Ssl2StreamKey.h"

#include "core/ErrorHandler.h"

namespace corva {

std::string Ssl2StreamKey::apply(const std::string& bytes) {
    if (!cipher_) throw RunError(Err::InvalidCall, "No session key for the connection");
    std::optional<std::string> out = cipher_->apply(bytes);
    if (!out) throw RunError(Err::InvalidCall, "Could not encrypt or decrypt a record");
    return std::move(*out);
}

} // namespace corva
