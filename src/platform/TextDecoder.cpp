#include "platform/TextDecoder.h"

#include "platform/Platform.h"

#include <array>
#include <cctype>
#include <cstdint>

namespace corva::platform {

namespace {

// Windows-1252's characters for 0x80..0x9F. The five holes keep their C1
// code, as a decoder that maps them one to one does.
constexpr std::array<char16_t, 32> Cp1252High = {
    0x20AC, 0x0081, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021, 0x02C6, 0x2030, 0x0160,
    0x2039, 0x0152, 0x008D, 0x017D, 0x008F, 0x0090, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022,
    0x2013, 0x2014, 0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0x009D, 0x017E, 0x0178};

void appendUtf8(std::string& out, uint32_t code) {
    if (code < 0x80) {
        out += static_cast<char>(code);
    } else if (code < 0x800) {
        out += static_cast<char>(0xC0 | (code >> 6));
        out += static_cast<char>(0x80 | (code & 0x3F));
    } else {
        out += static_cast<char>(0xE0 | (code >> 12));
        out += static_cast<char>(0x80 | ((code >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (code & 0x3F));
    }
}

std::string fromWindows1252(std::string_view bytes) {
    std::string out;
    out.reserve(bytes.size() + bytes.size() / 2);
    for (char ch : bytes) {
        auto c = static_cast<unsigned char>(ch);
        appendUtf8(out, c >= 0x80 && c < 0xA0 ? Cp1252High[c - 0x80] : c);
    }
    return out;
}

std::string lowerName(std::string_view name) {
    std::string lower;
    for (char c : name)
        if (!std::isspace(static_cast<unsigned char>(c)) && c != '"')
            lower += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return lower;
}

} // namespace

bool isValidUtf8(std::string_view bytes) {
    size_t i = 0;
    const size_t n = bytes.size();
    while (i < n) {
        auto c = static_cast<unsigned char>(bytes[i]);
        size_t more = 0;
        uint32_t code = 0;
        if (c < 0x80) {
            ++i;
            continue;
        } else if (c >= 0xC2 && c <= 0xDF) {
            more = 1;
            code = c & 0x1F;
        } else if (c >= 0xE0 && c <= 0xEF) {
            more = 2;
            code = c & 0x0F;
        } else if (c >= 0xF0 && c <= 0xF4) {
            more = 3;
            code = c & 0x07;
        } else {
            return false;
        }
        if (i + more >= n) return false;
        for (size_t k = 1; k <= more; ++k) {
            auto d = static_cast<unsigned char>(bytes[i + k]);
            if ((d & 0xC0) != 0x80) return false;
            code = (code << 6) | (d & 0x3F);
        }
        // Overlong forms, surrogates and code points past Unicode's end.
        if ((more == 2 && code < 0x800) || (more == 3 && code < 0x10000) || code > 0x10FFFF ||
            (code >= 0xD800 && code <= 0xDFFF))
            return false;
        i += more + 1;
    }
    return true;
}

std::string utf8OrWindows1252(std::string_view bytes) {
    return isValidUtf8(bytes) ? std::string(bytes) : fromWindows1252(bytes);
}

bool isPlainCharset(std::string_view charset) {
    const std::string name = lowerName(charset);
    for (const char* plain :
         {"utf-8", "utf8", "us-ascii", "windows-1252", "cp1252", "iso-8859-1", "latin1"})
        if (name == plain) return true;
    return false;
}

std::string TextDecoder::toUtf8(std::string_view bytes, std::string_view charset) const {
    // Latin-1 labels are read as Windows-1252, its superset in practice.
    const std::string name = lowerName(charset);
    if ((name == "utf-8" || name == "utf8" || name == "us-ascii") && isValidUtf8(bytes))
        return std::string(bytes);
    if (name == "windows-1252" || name == "cp1252" || name == "iso-8859-1" || name == "latin1")
        return fromWindows1252(bytes);
    return utf8OrWindows1252(bytes);
}

std::string displayText(std::string_view bytes, std::string_view charset) {
    return current().textDecoder().toUtf8(bytes, charset);
}

const TextDecoder& Platform::textDecoder() {
    static const TextDecoder plain;
    return plain;
}

} // namespace corva::platform
