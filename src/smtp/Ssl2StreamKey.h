// One direction of an SSL 2.0 connection's RC4 stream. The cipher state runs
// on from record to record, so one object lives as long as its connection.
#pragma once

#include <string>

struct evp_cipher_ctx_st;

namespace corva {

class Ssl2StreamKey {
public:
    Ssl2StreamKey() = default;
    // Takes over an initialised cipher context.
    explicit Ssl2StreamKey(evp_cipher_ctx_st* context) : context_(context) {}
    ~Ssl2StreamKey();
    Ssl2StreamKey(Ssl2StreamKey&& other) noexcept;
    Ssl2StreamKey& operator=(Ssl2StreamKey&& other) noexcept;
    Ssl2StreamKey(const Ssl2StreamKey&) = delete;
    Ssl2StreamKey& operator=(const Ssl2StreamKey&) = delete;

    bool valid() const { return context_ != nullptr; }
    // Encrypts or decrypts (the same for a stream cipher), never finishing the
    // stream. Throws RunError when there is no key.
    std::string apply(const std::string& bytes);
    void destroy();

private:
    evp_cipher_ctx_st* context_ = nullptr;
};

} // namespace corva
