// The Base64 decoder behind every attachment and encoded header word, and
// the encoder behind outgoing attachments and logins.
#include "message/Base64.h"

#include <array>

namespace corva {

namespace {

constexpr const char* Alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr signed char Skip = -1; // line ends and blanks inside the text
constexpr signed char Stop = -2; // padding, "?=" and anything else ends the data

constexpr std::array<signed char, 256> makeTable() {
    std::array<signed char, 256> t{};
    for (auto& v : t) v = Stop;
    for (int i = 0; i < 64; ++i)
        t[static_cast<unsigned char>(Alphabet[i])] = static_cast<signed char>(i);
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

std::string cEncode64(std::string_view bytes, int groupsPerLine) {
    std::string out;
    const size_t n = bytes.size();
    out.reserve(n / 3 * 4 + 4 + (groupsPerLine ? n / (3 * groupsPerLine) * 2 : 0));
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    int groups = 0;
    for (size_t i = 0; i < n; i += 3) {
        unsigned v = static_cast<unsigned>(p[i]) << 16;
        if (i + 1 < n) v |= static_cast<unsigned>(p[i + 1]) << 8;
        if (i + 2 < n) v |= p[i + 2];
        out += Alphabet[(v >> 18) & 63];
        out += Alphabet[(v >> 12) & 63];
        out += i + 1 < n ? Alphabet[(v >> 6) & 63] : '=';
        out += i + 2 < n ? Alphabet[v & 63] : '=';
        if (groupsPerLine && ++groups == groupsPerLine) {
            out += "\r\n";
            groups = 0;
        }
    }
    return out;
}

} // namespace corva
