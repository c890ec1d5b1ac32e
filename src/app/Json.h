// JSON for scripts. Mail text is decoded as the windows decode it, so a
// reader gets the characters; control characters travel as escapes.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace corva::app {

// A JSON string of valid UTF-8 text.
std::string JsonQuote(std::string_view utf8);
// Bytes of mail decoded with their charset (or UTF-8, else Windows-1252).
std::string JsonText(std::string_view bytes, std::string_view charset = {});
// One code point per byte (\u0080..\u00ff above 127), for byte-exact comparison.
std::string JsonBytes(std::string_view bytes);

// A list colour (red in the low byte, as the program keeps it) as "#RRGGBB".
std::string RgbText(int32_t colour);

// An object built key by key, in the order given.
class JsonObject {
public:
    JsonObject& raw(std::string_view key, std::string_view json);
    JsonObject& text(std::string_view key, std::string_view bytes, std::string_view charset = {}) {
        return raw(key, JsonText(bytes, charset));
    }
    JsonObject& number(std::string_view key, double value);
    JsonObject& integer(std::string_view key, long long value) {
        return raw(key, std::to_string(value));
    }
    JsonObject& truth(std::string_view key, bool value) {
        return raw(key, value ? "true" : "false");
    }
    std::string str() const { return "{" + body_ + "}"; }

private:
    std::string body_;
};

} // namespace corva::app
