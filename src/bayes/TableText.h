// The text of a word table file (HashTable.dat, HashGood.dat, HashBad.dat): a
// heading line, the count of messages, then one "value, key" line per record.
// Read here for both the table itself and the score's index of it.
#pragma once

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

namespace corva {

// The number before a record's comma, as tables have always read it.
double tableNumber(std::string_view text);
// The count line's number.
double tableCountNumber(std::string_view text);
// Records the values a load could not keep, for the user's error report.
void reportOutOfRange(long values, const std::string& path);

struct TableTextRead {
    int32_t count = 1;   // messages counted into the table (1 when missing or 0)
    long outOfRange = 0; // values (and a count) too big to keep
};

namespace tabletext {

inline std::string_view trimBlanks(std::string_view s) {
    while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
    while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
    return s;
}

// The first CR or LF from pos on (size() if none), eight bytes at a time.
inline size_t lineEnd(std::string_view all, size_t pos) {
    constexpr uint64_t lows = 0x0101010101010101ULL, highs = 0x8080808080808080ULL;
    const char* p = all.data();
    for (; pos + 8 <= all.size(); pos += 8) {
        uint64_t w;
        std::memcpy(&w, p + pos, 8);
        const uint64_t cr = w ^ (lows * '\r'), lf = w ^ (lows * '\n');
        const uint64_t hits = ((cr - lows) & ~cr & highs) | ((lf - lows) & ~lf & highs);
        if (hits) return pos + static_cast<size_t>(__builtin_ctzll(hits) / 8);
    }
    while (pos < all.size() && p[pos] != '\r' && p[pos] != '\n') ++pos;
    return pos;
}

} // namespace tabletext

// Calls add(key, value) for each record in file order. A line ends at CR, LF
// or CR LF; a record without a comma or with an empty key is skipped.
template <typename Add> TableTextRead readTableText(std::string_view all, Add&& add) {
    TableTextRead read;
    size_t pos = 0;
    int line = 0;
    while (pos < all.size()) {
        const size_t end = tabletext::lineEnd(all, pos);
        const std::string_view current = all.substr(pos, end - pos);
        pos = end;
        if (pos < all.size() && all[pos] == '\r') ++pos;
        if (pos < all.size() && all[pos] == '\n') ++pos;
        ++line;
        if (line == 1) continue;
        if (line == 2) {
            double count = std::nearbyint(tableCountNumber(current));
            if (count > 2147483647.0 || count < -2147483648.0) {
                ++read.outOfRange;
                count = 0;
            }
            read.count = count == 0 ? 1 : static_cast<int32_t>(count);
            continue;
        }
        const size_t comma = current.find(',');
        if (comma == std::string_view::npos) continue;
        const std::string_view key = tabletext::trimBlanks(current.substr(comma + 1));
        // An empty key would be a node no scan can see.
        if (key.empty()) continue;
        const double value = tableNumber(current.substr(0, comma));
        if (!(std::fabs(value) <= FLT_MAX)) {
            ++read.outOfRange;
            continue;
        }
        add(key, static_cast<float>(value));
    }
    return read;
}

} // namespace corva
