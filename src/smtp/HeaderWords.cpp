#include "smtp/HeaderWords.h"

#include "smtp/frmSendMail.h"

namespace corva {

namespace {

// The length of the UTF-8 sequence a lead byte starts, 0 when it can't lead.
size_t sequenceLength(unsigned char lead) {
    if (lead < 0x80) return 1;
    if (lead >= 0xC2 && lead <= 0xDF) return 2;
    if (lead >= 0xE0 && lead <= 0xEF) return 3;
    if (lead >= 0xF0 && lead <= 0xF4) return 4;
    return 0;
}

} // namespace

bool IsUtf8Text(std::string_view text) {
    bool beyondAscii = false;
    for (size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const size_t n = sequenceLength(lead);
        if (n == 0 || i + n > text.size()) return false;
        for (size_t k = 1; k < n; ++k)
            if ((static_cast<unsigned char>(text[i + k]) & 0xC0) != 0x80) return false;
        if (n > 1) {
            const auto second = static_cast<unsigned char>(text[i + 1]);
            // Overlong forms, surrogates and code points beyond U+10FFFF.
            if ((lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
                (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F))
                return false;
            beyondAscii = true;
        }
        i += n;
    }
    return beyondAscii;
}

std::string EncodedWords(std::string_view utf8) {
    // 45 bytes make 60 base64 characters: with "=?UTF-8?B?" and "?=" a word stays within 75.
    constexpr size_t MaxBytes = 45;
    std::string out;
    size_t start = 0;
    while (start < utf8.size()) {
        size_t end = start;
        while (end < utf8.size()) {
            size_t n = sequenceLength(static_cast<unsigned char>(utf8[end]));
            if (n == 0) n = 1;
            if (end + n - start > MaxBytes) break;
            end += n;
        }
        if (end == start) end = start + 1;
        std::string encoded =
            frmSendMail::encodebase64byte(std::string(utf8.substr(start, end - start)));
        encoded.erase(encoded.find_last_not_of("\r\n") + 1);
        if (!out.empty()) out += "\r\n ";
        out += "=?UTF-8?B?" + encoded + "?=";
        start = end;
    }
    return out;
}

std::string HeaderText(std::string_view text) {
    return IsUtf8Text(text) ? EncodedWords(text) : std::string(text);
}

std::string DisplayName(std::string_view name) {
    return IsUtf8Text(name) ? EncodedWords(name) : "\"" + std::string(name) + "\"";
}

} // namespace corva
