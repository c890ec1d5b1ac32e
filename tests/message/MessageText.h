// Helpers for building raw mail in tests: mail lines end in CR LF, and
// writing them out by hand hides the very bytes a test is about.
#pragma once

#include <initializer_list>
#include <string>

namespace corva::test {

// The lines joined by CR LF (no line end after the last).
inline std::string crlf(std::initializer_list<std::string> lines) {
    std::string out;
    bool first = true;
    for (const auto& line : lines) {
        if (!first) out += "\r\n";
        out += line;
        first = false;
    }
    return out;
}

// How often needle occurs in hay.
inline size_t occurrences(const std::string& hay, const std::string& needle) {
    size_t n = 0;
    for (size_t p = hay.find(needle); p != std::string::npos; p = hay.find(needle, p + 1)) ++n;
    return n;
}

// A test-side Base64 encoder, so decoding is checked against an independent writer.
inline std::string encode64(const std::string& bytes, size_t lineLength = 76) {
    static const char* alphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    size_t column = 0;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        unsigned v = static_cast<unsigned char>(bytes[i]) << 16;
        if (i + 1 < bytes.size()) v |= static_cast<unsigned char>(bytes[i + 1]) << 8;
        if (i + 2 < bytes.size()) v |= static_cast<unsigned char>(bytes[i + 2]);
        out += alphabet[(v >> 18) & 63];
        out += alphabet[(v >> 12) & 63];
        out += i + 1 < bytes.size() ? alphabet[(v >> 6) & 63] : '=';
        out += i + 2 < bytes.size() ? alphabet[v & 63] : '=';
        column += 4;
        if (lineLength && column >= lineLength) {
            out += "\r\n";
            column = 0;
        }
    }
    return out;
}

} // namespace corva::test
