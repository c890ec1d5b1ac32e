// One direction of an SSL 2.0 connection's RC4 stream. The cipher state runs
// on from record to record, so one object lives as long as its connection.
#pragma once

#include "platform/Crypto.h"

#include <memory>
#include <string>

namespace corva {

class Ssl2StreamKey {
public:
    Ssl2StreamKey() = default;
    explicit Ssl2StreamKey(std::unique_ptr<platform::StreamCipher> cipher)
        : cipher_(std::move(cipher)) {}

    bool valid() const { return cipher_ != nullptr; }
    // Encrypts or decrypts (the same for a stream cipher), never finishing the
    // stream. Throws RunError when there is no key.
    std::string apply(const std::string& bytes);
    void destroy() { cipher_.reset(); }

private:
    std::unique_ptr<platform::StreamCipher> cipher_;
};

} // namespace corva
