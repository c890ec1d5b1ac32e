// The whole hash of a word table key, inline for the score's per-token work.
// The bytes up to the first NUL (a key was once handed over as a C string)
// are mixed eight at a time, then a 64-bit finaliser spreads the low bits for
// the tables' modulo.
#pragma once

#include <cstdint>
#include <cstring>
#include <string_view>

namespace corva::keyhash {

constexpr uint64_t Lows = 0x0101010101010101ULL, Highs = 0x8080808080808080ULL;

// The high bit of each zero byte, exact up to the first one.
inline uint64_t zeroBytes(uint64_t w) {
    return (w - Lows) & ~w & Highs;
}

inline uint64_t mixWord(uint64_t h, uint64_t w) {
    h = (h ^ w) * 0x9E3779B97F4A7C15ULL;
    return h ^ (h >> 32);
}

// The rest (1 to 7 bytes) as a little-endian word, read without a byte loop.
inline uint64_t shortWord(const char* p, size_t rest) {
    uint32_t lo = 0, hi = 0;
    if (rest >= 4) {
        std::memcpy(&lo, p, 4);
        std::memcpy(&hi, p + rest - 4, 4);
        return static_cast<uint64_t>(lo) | (static_cast<uint64_t>(hi) << (8 * (rest - 4)));
    }
    uint64_t w = static_cast<unsigned char>(p[0]);
    if (rest >= 2) w |= static_cast<uint64_t>(static_cast<unsigned char>(p[1])) << 8;
    if (rest == 3) w |= static_cast<uint64_t>(static_cast<unsigned char>(p[2])) << 16;
    return w;
}

inline uint64_t of(std::string_view key) {
    const char* p = key.data();
    size_t n = key.size();
    uint64_t h = 0xcbf29ce484222325ULL;
    size_t i = 0;
    for (; i + 8 <= n; i += 8) {
        uint64_t w;
        std::memcpy(&w, p + i, 8);
        if (const uint64_t z = zeroBytes(w)) {
            n = i + static_cast<size_t>(__builtin_ctzll(z) / 8);
            break;
        }
        h = mixWord(h, w);
    }
    if (size_t rest = n - i) {
        uint64_t w;
        if (n >= 8) {
            // The last eight bytes, shifted down to the ones not mixed in yet.
            std::memcpy(&w, p + n - 8, 8);
            w >>= 8 * (8 - rest);
        } else {
            w = shortWord(p + i, rest);
        }
        if (const uint64_t z = zeroBytes(w | (~0ULL << (8 * rest)))) {
            rest = static_cast<size_t>(__builtin_ctzll(z) / 8);
            w &= rest == 0 ? 0 : ~0ULL >> (64 - 8 * rest);
            n = i + rest;
        }
        if (rest > 0) h = mixWord(h, w);
    }
    h ^= n;
    h ^= h >> 33;
    h *= 0xff51afd7ed558ccdULL;
    h ^= h >> 33;
    h *= 0xc4ceb9fe1a85ec53ULL;
    h ^= h >> 33;
    return h;
}

} // namespace corva::keyhash
