#include "app/Json.h"

#include "platform/TextDecoder.h"

#include <charconv>
#include <cmath>

namespace corva::app {

namespace {
void escapeCode(std::string& out, unsigned code) {
    static const char hex[] = "0123456789abcdef";
    out += "\\u00";
    out += hex[(code >> 4) & 0xF];
    out += hex[code & 0xF];
}
} // namespace

std::string JsonQuote(std::string_view s) {
    std::string out = "\"";
    for (size_t i = 0; i < s.size(); ++i) {
        const auto c = static_cast<unsigned char>(s[i]);
        switch (c) {
        case '"':
            out += "\\\"";
            continue;
        case '\\':
            out += "\\\\";
            continue;
        case '\n':
            out += "\\n";
            continue;
        case '\r':
            out += "\\r";
            continue;
        case '\t':
            out += "\\t";
            continue;
        default:
            break;
        }
        if (c < 0x20 || c == 0x7F) {
            escapeCode(out, c);
        } else if (c == 0xC2 && i + 1 < s.size() && static_cast<unsigned char>(s[i + 1]) >= 0x80 &&
                   static_cast<unsigned char>(s[i + 1]) <= 0x9F) {
            // C1 controls as escapes too: a reader that prints them must not obey them.
            escapeCode(out, static_cast<unsigned char>(s[++i]));
        } else {
            out += static_cast<char>(c);
        }
    }
    return out + "\"";
}

std::string JsonText(std::string_view bytes, std::string_view charset) {
    return JsonQuote(platform::displayText(bytes, charset));
}

std::string JsonBytes(std::string_view bytes) {
    // Every byte above 126 as its own escape: plain ASCII out, whatever came in.
    std::string out = "\"";
    for (char ch : bytes) {
        const auto c = static_cast<unsigned char>(ch);
        if (c >= 0x7F) {
            escapeCode(out, c);
        } else {
            std::string one = JsonQuote(std::string_view(&ch, 1));
            out += one.substr(1, one.size() - 2);
        }
    }
    return out + "\"";
}

std::string RgbText(int32_t colour) {
    static const char hex[] = "0123456789ABCDEF";
    std::string text = "#";
    for (int shift : {4, 0, 12, 8, 20, 16})
        text += hex[(static_cast<uint32_t>(colour) >> shift) & 0xF];
    return text;
}

JsonObject& JsonObject::raw(std::string_view key, std::string_view json) {
    if (!body_.empty()) body_ += ", ";
    body_ += JsonQuote(key);
    body_ += ": ";
    body_ += json;
    return *this;
}

JsonObject& JsonObject::number(std::string_view key, double value) {
    if (!std::isfinite(value)) return raw(key, "null");
    char buffer[64];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value);
    return raw(key, ec == std::errc() ? std::string_view(buffer, static_cast<size_t>(end - buffer))
                                      : std::string_view("0"));
}

} // namespace corva::app
