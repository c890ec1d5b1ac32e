#include "core/TerminalText.h"

#include "platform/TextDecoder.h"

#include <algorithm>
#include <cctype>
#include <cstdint>
#include <iterator>

namespace corva {

namespace {

// One code point of valid UTF-8 at i; i moves past it.
uint32_t nextCodePoint(std::string_view s, size_t& i) {
    auto c = static_cast<unsigned char>(s[i]);
    size_t more = c < 0x80 ? 0 : c < 0xE0 ? 1 : c < 0xF0 ? 2 : 3;
    uint32_t code = more == 0 ? c : c & (0x3F >> more);
    ++i;
    for (size_t k = 0; k < more && i < s.size(); ++k, ++i)
        code = (code << 6) | (static_cast<unsigned char>(s[i]) & 0x3F);
    return code;
}

struct Range {
    uint32_t first, last;
};

bool inRanges(uint32_t code, const Range* ranges, size_t count) {
    for (size_t i = 0; i < count; ++i)
        if (code >= ranges[i].first && code <= ranges[i].last) return true;
    return false;
}

// The East Asian wide and fullwidth blocks, and the emoji that terminals draw
// two cells wide.
constexpr Range Wide[] = {
    {0x1100, 0x115F},   {0x231A, 0x231B},   {0x2329, 0x232A},   {0x23E9, 0x23EC},
    {0x2614, 0x2615},   {0x2E80, 0x303E},   {0x3041, 0x33FF},   {0x3400, 0x4DBF},
    {0x4E00, 0x9FFF},   {0xA000, 0xA4CF},   {0xA960, 0xA97F},   {0xAC00, 0xD7A3},
    {0xF900, 0xFAFF},   {0xFE10, 0xFE19},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},
    {0xFFE0, 0xFFE6},   {0x1F300, 0x1F64F}, {0x1F680, 0x1F6FF}, {0x1F900, 0x1F9FF},
    {0x20000, 0x2FFFD}, {0x30000, 0x3FFFD},
};

// Combining marks and zero-width characters: they take no cell of their own.
constexpr Range Zero[] = {
    {0x0300, 0x036F}, {0x0483, 0x0489}, {0x0591, 0x05BD}, {0x0610, 0x061A}, {0x064B, 0x065F},
    {0x0E31, 0x0E31}, {0x0E34, 0x0E3A}, {0x0E47, 0x0E4E}, {0x1AB0, 0x1AFF}, {0x1DC0, 0x1DFF},
    {0x200B, 0x200F}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}, {0xFE20, 0xFE2F}, {0xFEFF, 0xFEFF},
};

size_t cellsOf(uint32_t code) {
    if (inRanges(code, Zero, std::size(Zero))) return 0;
    if (inRanges(code, Wide, std::size(Wide))) return 2;
    return 1;
}

void appendEscape(std::string& out, const char* prefix, uint32_t code, int digits) {
    static const char hex[] = "0123456789abcdef";
    out += prefix;
    for (int shift = (digits - 1) * 4; shift >= 0; shift -= 4) out += hex[(code >> shift) & 15];
}

} // namespace

std::string terminalText(std::string_view bytes, std::string_view charset) {
    const std::string text = platform::displayText(bytes, charset);
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size();) {
        size_t start = i;
        uint32_t code = nextCodePoint(text, i);
        if (code == '\t' || code == '\n') {
            out += static_cast<char>(code);
        } else if (code == '\r' && i < text.size() && text[i] == '\n') {
            // CR LF is a line end; a lone CR would let a line overwrite itself.
        } else if (code < 0x20 || code == 0x7F) {
            appendEscape(out, "\\x", code, 2);
        } else if (code >= 0x80 && code < 0xA0) {
            appendEscape(out, "\\u", code, 4);
        } else {
            out.append(text, start, i - start);
        }
    }
    return out;
}

std::string terminalLine(std::string_view bytes, std::string_view charset) {
    // Printable ASCII, as file names nearly always are, shows as it is.
    if (charset.empty() &&
        std::all_of(bytes.begin(), bytes.end(), [](char c) { return c >= 0x20 && c < 0x7F; }))
        return std::string(bytes);
    std::string flat(bytes);
    for (char& c : flat)
        if (c == '\r' || c == '\n' || c == '\t') c = ' ';
    return terminalText(flat, charset);
}

size_t displayWidth(std::string_view utf8) {
    size_t cells = 0;
    for (size_t i = 0; i < utf8.size();) cells += cellsOf(nextCodePoint(utf8, i));
    return cells;
}

std::string cutToWidth(std::string_view utf8, size_t width) {
    size_t cells = 0;
    size_t i = 0;
    while (i < utf8.size()) {
        size_t next = i;
        size_t w = cellsOf(nextCodePoint(utf8, next));
        if (cells + w > width) break;
        cells += w;
        i = next;
    }
    return std::string(utf8.substr(0, i));
}

std::string fitToWidth(std::string_view utf8, size_t width) {
    size_t cells = displayWidth(utf8);
    std::string out;
    if (cells > width) {
        out = width ? cutToWidth(utf8, width - 1) + "~" : std::string();
        cells = displayWidth(out);
    } else {
        out = std::string(utf8);
    }
    return out + std::string(width - cells, ' ');
}

std::string headerCharset(std::string_view headers, std::string_view field) {
    auto lower = [](char c) {
        return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    };
    for (size_t line = 0; line < headers.size();) {
        size_t end = headers.find('\n', line);
        if (end == std::string_view::npos) end = headers.size();
        // The field runs on over folded lines, which start with a blank.
        while (end + 1 < headers.size() && (headers[end + 1] == ' ' || headers[end + 1] == '\t')) {
            end = headers.find('\n', end + 1);
            if (end == std::string_view::npos) end = headers.size();
        }
        std::string_view text = headers.substr(line, end - line);
        line = end + 1;
        if (text.size() <= field.size() || text[field.size()] != ':') continue;
        bool same = true;
        for (size_t k = 0; k < field.size() && same; ++k) same = lower(text[k]) == lower(field[k]);
        if (!same) continue;
        size_t open = text.find("=?");
        size_t close = open == std::string_view::npos ? open : text.find('?', open + 2);
        if (close == std::string_view::npos) return {};
        // A language tag ("utf-8*en") is not part of the name.
        std::string_view name = text.substr(open + 2, close - open - 2);
        return std::string(name.substr(0, name.find('*')));
    }
    return {};
}

} // namespace corva
