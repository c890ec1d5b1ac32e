// The Base64 decoder behind every attachment and encoded header word.
#include "message/Base64.h"

#include <array>

namespace corva {

namespace {

constexpr signed char Skip = -1; // line ends and blanks inside the text
constexpr signed char Stop = -2; // padding, "?=" and anything else ends the data

constexpr std::array<signed char, 256> makeTable() {
    std::array<signed char, 256> t{};
    for (auto& v : t) v = Stop;
    const char* alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    for (int i = 0; i < 64; ++i)
        t[static_cast<unsigned char>(alphabet[i])] = static_cast<signed char>(i);
    t['\r'] = Skip;
    t['\n'] = Skip;
    t[' '] = Skip;
    t['\t'] = Skip;
    return t;
}

constexpr std::array<signed char, 256> Table = makeTable();

} // namespace

long cDecode64(const unsigned char* source, unsigned char* destination, long length) {
    if (!source || !destination || length < 0) return 0;
    // length is the highest index of the source, as the caller has always passed it.
    const unsigned char* p = source;
    const unsigned char* end = source + length + 1;
    unsigned char* out = destination;
    unsigned int acc = 0;
    int have = 0;
    for (; p < end; ++p) {
        signed char v = Table[*p];
        if (v == Skip) continue;
        if (v == Stop) break;
        acc = (acc << 6) | static_cast<unsigned int>(v);
        if (++have == 4) {
            *out++ = static_cast<unsigned char>(acc >> 16);
            *out++ = static_cast<unsigned char>(acc >> 8);
            *out++ = static_cast<unsigned char>(acc);
            acc = 0;
            have = 0;
        }
    }
    // A short last group still gives its whole bytes.
    if (have == 2) {
        *out++ = static_cast<unsigned char>(acc >> 4);
    } else if (have == 3) {
        *out++ = static_cast<unsigned char>(acc >> 10);
        *out++ = static_cast<unsigned char>(acc >> 2);
    }
    return static_cast<long>(out - destination);
}

} // namespace corva
