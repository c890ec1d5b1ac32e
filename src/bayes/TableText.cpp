#include "bayes/TableText.h"

#include "core/ErrorHandler.h"
#include "core/Strings.h"

#include <charconv>

namespace corva {

// Plain decimals are read directly; anything else goes through Val so that
// odd lines read as they always have.
double tableNumber(std::string_view text) {
    std::string_view t = tabletext::trimBlanks(text);
    // "0.dd", nearly every probability: the division the plain reading below makes.
    auto digit = [](char c) { return c >= '0' && c <= '9'; };
    if (t.size() == 4 && t[0] == '0' && t[1] == '.' && digit(t[2]) && digit(t[3]))
        return static_cast<double>((t[2] - '0') * 10 + (t[3] - '0')) / 1e2;
    // Digits, a point, digits: fifteen digits or fewer are exact as a whole
    // number, and one division by an exact power of ten rounds as the general
    // reading does.
    static constexpr double powers[] = {1e0, 1e1, 1e2,  1e3,  1e4,  1e5,  1e6,  1e7,
                                        1e8, 1e9, 1e10, 1e11, 1e12, 1e13, 1e14, 1e15};
    uint64_t mantissa = 0;
    int digits = 0, decimals = -1;
    bool plain = !t.empty();
    for (char c : t) {
        if (c >= '0' && c <= '9') {
            mantissa = mantissa * 10 + static_cast<uint64_t>(c - '0');
            ++digits;
            if (decimals >= 0) ++decimals;
        } else if (c == '.' && decimals < 0) {
            decimals = 0;
        } else {
            plain = false;
            break;
        }
    }
    if (plain && digits > 0 && digits <= 15 && t.front() != '.')
        return static_cast<double>(mantissa) / powers[decimals < 0 ? 0 : decimals];
    size_t i = 0;
    if (i < t.size() && (t[i] == '-' || t[i] == '+')) ++i;
    size_t digitsFrom = i;
    while (i < t.size() && t[i] >= '0' && t[i] <= '9') ++i;
    if (i < t.size() && t[i] == '.') {
        ++i;
        while (i < t.size() && t[i] >= '0' && t[i] <= '9') ++i;
    }
    if (i == t.size() && i > digitsFrom && t.front() != '+') {
        double v = 0;
        auto [end, ec] = std::from_chars(t.data(), t.data() + t.size(), v);
        if (ec == std::errc() && end == t.data() + t.size()) return v;
    }
    return Val(text);
}

double tableCountNumber(std::string_view text) {
    return Val(text);
}

void reportOutOfRange(long values, const std::string& path) {
    if (values > 0)
        HandleError(RunError(Err::Overflow, "Overflow: " + std::to_string(values) +
                                                " value(s) out of range in " + path),
                    "LoadTable", "clsHashTable");
}

} // namespace corva
