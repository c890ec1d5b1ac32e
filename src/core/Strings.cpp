#include "core/Strings.h"

#include <cstdio>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace corva {

char LowerChar(char c) {
    return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c;
}
char UpperChar(char c) {
    return (c >= 'a' && c <= 'z') ? static_cast<char>(c - 32) : c;
}

size_t InStr(std::string_view hay, std::string_view needle, size_t start) {
    if (start < 1) start = 1;
    if (start > hay.size() + 1) return 0;
    if (needle.empty()) return start;
    size_t p = hay.find(needle, start - 1);
    return p == std::string_view::npos ? 0 : p + 1;
}

size_t InStrNoCase(std::string_view hay, std::string_view needle, size_t start) {
    if (start < 1) start = 1;
    if (start > hay.size() + 1) return 0;
    if (needle.empty()) return start;
    if (needle.size() > hay.size()) return 0;
    const char first = LowerChar(needle[0]);
    const size_t last = hay.size() - needle.size();
    for (size_t i = start - 1; i <= last; ++i) {
        if (LowerChar(hay[i]) != first) continue;
        size_t j = 1;
        while (j < needle.size() && LowerChar(hay[i + j]) == LowerChar(needle[j])) ++j;
        if (j == needle.size()) return i + 1;
    }
    return 0;
}

size_t InStrRev(std::string_view hay, std::string_view needle) {
    if (needle.empty()) return hay.size();
    size_t p = hay.rfind(needle);
    return p == std::string_view::npos ? 0 : p + 1;
}

std::string Mid(std::string_view s, size_t start, size_t length) {
    if (start < 1 || start > s.size()) return "";
    return std::string(s.substr(start - 1, length));
}

std::string Left(std::string_view s, size_t n) {
    return std::string(s.substr(0, n));
}

std::string Right(std::string_view s, size_t n) {
    return n >= s.size() ? std::string(s) : std::string(s.substr(s.size() - n));
}

std::string LTrim(std::string_view s) {
    size_t b = 0;
    while (b < s.size() && s[b] == ' ') ++b;
    return std::string(s.substr(b));
}

std::string RTrim(std::string_view s) {
    size_t e = s.size();
    while (e > 0 && s[e - 1] == ' ') --e;
    return std::string(s.substr(0, e));
}

std::string Trim(std::string_view s) {
    size_t b = 0, e = s.size();
    while (b < e && s[b] == ' ') ++b;
    while (e > b && s[e - 1] == ' ') --e;
    return std::string(s.substr(b, e - b));
}

std::string LCase(std::string_view s) {
    std::string r(s);
    for (char& c : r) c = LowerChar(c);
    return r;
}

std::string UCase(std::string_view s) {
    std::string r(s);
    for (char& c : r) c = UpperChar(c);
    return r;
}

bool EqualsNoCase(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (LowerChar(a[i]) != LowerChar(b[i])) return false;
    return true;
}

bool StartsWith(std::string_view s, std::string_view prefix) {
    return s.size() >= prefix.size() && s.substr(0, prefix.size()) == prefix;
}

bool EndsWith(std::string_view s, std::string_view suffix) {
    return s.size() >= suffix.size() && s.substr(s.size() - suffix.size()) == suffix;
}

bool StartsWithNoCase(std::string_view s, std::string_view prefix) {
    return s.size() >= prefix.size() && EqualsNoCase(s.substr(0, prefix.size()), prefix);
}

std::string Replace(std::string_view s, std::string_view what, std::string_view with) {
    if (what.empty()) return std::string(s);
    std::string out;
    out.reserve(s.size());
    size_t pos = 0;
    for (;;) {
        size_t hit = s.find(what, pos);
        if (hit == std::string_view::npos) break;
        out.append(s.substr(pos, hit - pos));
        out.append(with);
        pos = hit + what.size();
    }
    out.append(s.substr(pos));
    return out;
}

std::string ReplaceNoCase(std::string_view s, std::string_view what, std::string_view with) {
    if (what.empty()) return std::string(s);
    std::string out;
    out.reserve(s.size());
    size_t pos = 1;
    for (;;) {
        size_t hit = InStrNoCase(s, what, pos);
        if (hit == 0) break;
        out.append(s.substr(pos - 1, hit - pos));
        out.append(with);
        pos = hit + what.size();
    }
    if (pos - 1 < s.size()) out.append(s.substr(pos - 1));
    return out;
}

std::vector<std::string> Split(std::string_view s, std::string_view separator) {
    std::vector<std::string> parts;
    if (separator.empty()) {
        parts.emplace_back(s);
        return parts;
    }
    size_t pos = 0;
    for (;;) {
        size_t hit = s.find(separator, pos);
        if (hit == std::string_view::npos) break;
        parts.emplace_back(s.substr(pos, hit - pos));
        pos = hit + separator.size();
    }
    parts.emplace_back(s.substr(pos));
    return parts;
}

std::vector<std::string> SplitLines(std::string_view text) {
    std::vector<std::string> lines;
    size_t pos = 0;
    while (pos < text.size()) {
        size_t end = text.find('\n', pos);
        if (end == std::string_view::npos) end = text.size();
        std::string_view line = text.substr(pos, end - pos);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        lines.emplace_back(line);
        pos = end + 1;
    }
    return lines;
}

std::string Join(const std::vector<std::string>& parts, std::string_view separator) {
    std::string out;
    for (size_t i = 0; i < parts.size(); ++i) {
        if (i) out.append(separator);
        out.append(parts[i]);
    }
    return out;
}

double Val(std::string_view s) {
    // Blanks, tabs and line feeds are passed over anywhere, as the classic Val does.
    std::string compact;
    compact.reserve(s.size());
    for (char c : s) {
        if (c == ' ' || c == '\t' || c == '\n' || c == '\r') continue;
        compact.push_back(c);
    }
    if (compact.empty()) return 0;
    size_t i = 0;
    if (compact[i] == '+' || compact[i] == '-') ++i;
    size_t digits = i;
    while (digits < compact.size() &&
           (std::isdigit(static_cast<unsigned char>(compact[digits])) || compact[digits] == '.'))
        ++digits;
    if (digits < compact.size() && (compact[digits] == 'e' || compact[digits] == 'E')) {
        size_t e = digits + 1;
        if (e < compact.size() && (compact[e] == '+' || compact[e] == '-')) ++e;
        if (e < compact.size() && std::isdigit(static_cast<unsigned char>(compact[e]))) {
            while (e < compact.size() && std::isdigit(static_cast<unsigned char>(compact[e]))) ++e;
            digits = e;
        }
    }
    std::string number = compact.substr(0, digits);
    double v = std::strtod(number.c_str(), nullptr);
    return std::isfinite(v) ? v : 0;
}

std::string EscapeBytes(std::string_view bytes, size_t limit) {
    std::string out;
    size_t shown = std::min(bytes.size(), limit);
    out.reserve(shown);
    static const char hexDigits[] = "0123456789ABCDEF";
    for (size_t i = 0; i < shown; ++i) {
        unsigned char c = static_cast<unsigned char>(bytes[i]);
        if (c == '\r')
            out += "\\r";
        else if (c == '\n')
            out += "\\n";
        else if (c == '\\')
            out += "\\\\";
        else if (c < 0x20 || c >= 0x7F) {
            out += "\\x";
            out += hexDigits[c >> 4];
            out += hexDigits[c & 15];
        } else
            out += static_cast<char>(c);
    }
    if (shown < bytes.size()) out += "... (" + std::to_string(bytes.size()) + " bytes)";
    return out;
}

std::string Str(long long n) {
    return std::to_string(n);
}

std::string TwoDigits(int n) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%02d", n);
    return buffer;
}

namespace {
int hexDigit(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}
} // namespace

std::string PercentDecode(std::string_view text) {
    std::string out;
    out.reserve(text.size());
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && hexDigit(text[i + 1]) >= 0 &&
            hexDigit(text[i + 2]) >= 0) {
            out += static_cast<char>(hexDigit(text[i + 1]) * 16 + hexDigit(text[i + 2]));
            i += 2;
        } else {
            out += text[i];
        }
    }
    return out;
}

} // namespace corva
