// Transfer-encoding and header-word decoders, and the choice of a plain text
// for display. The rules for particular senders are kept on purpose: the rest
// of the program was tuned on what they produce.
#include "message/modMIME.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/mSHAREDGeneral.h"
#include "core/mSHAREDSettings.h"
#include "message/Base64.h"
#include "message/TextScan.h"
#include "message/clsMessage.h"
#include "message/modTextConvert.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <fstream>

namespace corva {

namespace ts = textscan;

namespace {

constexpr const char* Module = "modMIME";

int hexValue(char c) {
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    return -1;
}

} // namespace

std::string quotedprintabledecode(const std::string& input) {
    return guardedValue("quotedprintabledecode", Module, input, [&]() -> std::string {
        if (input.find('=') == std::string::npos) return input;
        std::string text = input;
        bool mark = false;

        // Senders that encode their line ends: the real breaks are soft ones there.
        if (text.find("=0D") != std::string::npos) {
            ts::replaceInPlace(text, "\r\n", "");
            ts::replaceInPlace(text, "=0D", "\r\n");
        }
        if (text.find("=\r\n") != std::string::npos) {
            // Joining soft breaks was only ever wanted for these senders, whose
            // long lines carry links that must stay whole; elsewhere a soft break
            // stays a line break. The search words are part of the behaviour.
            if (ts::containsNoCase(text, "ebay")) {
                ts::replaceInPlace(text, "=\r\n", "");
                mark = true;
                // Byte 1 stands in for a literal "=" that must survive the walk below.
                ts::replaceInPlace(text, "=3D", "\x01");
                ts::replaceInPlace(text, "=20\r\n", " ");
                ts::replaceInPlace(text, "=09", "");
            } else if (ts::containsNoCase(text, "Hester Wray")) {
                ts::replaceInPlace(text, "=\r\n", "");
            } else {
                ts::replaceInPlace(text, "=\r\n", "\r\n");
            }
        }
        if (text.empty()) return "";

        std::string out;
        out.reserve(text.size());
        const size_t n = text.size();
        for (size_t i = 0; i < n; ++i) {
            char c = text[i];
            if (c == '=' && i + 2 < n) {
                int hi = hexValue(ts::upper(text[i + 1]));
                int lo = hexValue(ts::upper(text[i + 2]));
                if (hi >= 0 && lo >= 0) {
                    out += static_cast<char>(hi * 16 + lo);
                    i += 2;
                    continue;
                }
            }
            out += c;
        }

        if (mark) {
            for (char& c : out)
                if (c == '\x01') c = '=';
        } else {
            // A stray soft break on a line ended by CR alone disappears.
            ts::replaceInPlace(out, "=\r", "\r");
        }
        return out;
    });
}

std::string bytearraytostring(const std::vector<unsigned char>& bytes, bool keepNulls) {
    std::string text(bytes.begin(), bytes.end());
    if (!keepNulls) {
        size_t nul = text.find('\0');
        if (nul != std::string::npos) text.resize(nul);
    }
    return text;
}

std::string vbDecodeMime64(const std::string& input) {
    return guardedValue("vbDecodeMime64", Module, input, [&]() -> std::string {
        std::string text = ts::replaceAll(input, "\r\n", "");
        // cDecode64 is handed the highest index, one less than the length, and
        // reads through that index: every byte of the text is decoded, so no
        // attachment loses its last byte. The pair stays as it is.
        long highest = static_cast<long>(text.size()) - 1;
        if (highest <= 0) return text;
        size_t bufferSize = static_cast<size_t>(std::nearbyint(highest / 4.0 * 3 + 2)) + 1;
        std::string out(bufferSize, '\0');
        long written = cDecode64(reinterpret_cast<const unsigned char*>(text.data()),
                                 reinterpret_cast<unsigned char*>(out.data()), highest);
        out.resize(static_cast<size_t>(std::max(0L, written)));
        return out;
    });
}

namespace {

// Nearly every header is plain text: with no byte that a step of isodecode
// looks for, all that the steps leave is the text trimmed.
bool plainHeaderText(std::string_view input) {
    static constexpr auto touched = [] {
        std::array<bool, 256> t{};
        for (unsigned char c : std::string_view("?=\"\r\n\x10\x11\x12\0", 9)) t[c] = true;
        return t;
    }();
    return std::none_of(input.begin(), input.end(),
                        [](char c) { return touched[static_cast<unsigned char>(c)]; });
}

} // namespace

std::string isodecodeView(std::string_view input) {
    if (plainHeaderText(input)) return std::string(ts::trimView(input));
    return isodecode(std::string(input));
}

std::string isodecode(const std::string& input) {
    if (plainHeaderText(input)) return std::string(ts::trimView(input));
    return guardedValue("isodecode", Module, input, [&]() -> std::string {
        std::string text = input;
        std::string tail;
        size_t blank = text.find(' ');
        if (blank != std::string::npos) tail = text.substr(blank);

        bool namesCharset =
            ts::containsNoCase(text, "iso-8859") || ts::containsNoCase(text, "us-ascii") ||
            ts::containsNoCase(text, "windows-125") || ts::containsNoCase(text, "utf-8");
        size_t found = 0; // 1-based position of the encoded word's marker
        if (namesCharset) {
            size_t b = ts::findNoCase(text, "?b");
            if (b != std::string::npos) {
                // The position is held in a 16-bit integer: further on, it is lost.
                if (b + 1 > 32767) {
                    HandleError(RunError(Err::Overflow), "isodecode", Module);
                } else {
                    found = b + 1;
                    std::string rest = b + 3 <= text.size() ? text.substr(b + 3) : std::string();
                    text = text.substr(0, b + 1) + vbDecodeMime64(rest);
                }
            }
        } else {
            size_t b = ts::findNoCase(text, "?B?");
            if (b != std::string::npos) {
                found = b + 1;
                text = vbDecodeMime64(text.substr(b + 3));
            }
        }

        text = quotedprintabledecode(text);

        size_t q = ts::findNoCase(text, "q?");
        if (q != std::string::npos) text.erase(0, q + 2);
        ts::replaceInPlace(text, "=?=", "");
        ts::replaceInPlace(text, "?=", "");
        ts::replaceInPlace(text, "=?", "");
        ts::replaceInPlace(text, "?Q", ""); // only this spelling
        ts::replaceInPlace(text, "=3A", "");
        for (const char* charset : {"iso-8859", "us-ascii", "windows-125", "utf-8"}) {
            if (ts::containsNoCase(text, charset)) {
                size_t mark = text.find('?');
                if (mark != std::string::npos) text.erase(0, mark + 1);
            }
        }
        for (char c : {'"', '\r', '\n', '\x12', '\x10', '\x11'}) ts::removeByte(text, c);
        size_t nul = text.find('\0');
        if (nul != std::string::npos) text.resize(nul);

        if (found > 0) text += tail;
        return std::string(ts::trimView(text));
    });
}

bool writefile(const std::string& path, const std::string& content, const std::string& encoding) {
    return guardedValue("writefile", Module, false, [&] {
        EraseFile(path);
        std::string bytes;
        if (encoding == "quoted-printable")
            bytes = quotedprintabledecode(content);
        else if (encoding == "base64")
            bytes = vbDecodeMime64(content);
        else
            bytes = content;
        if (!WriteFileAtomically(path, bytes)) throw RunError(Err::PathFileAccess);
        return true;
    });
}

std::string DecodedPartText(const clsMessage& message, int i) {
    return guardedValue("DecodedPartText", Module, std::string(), [&] {
        const clsMimeType& part = message.MimePart(i);
        std::string text = part.Content;
        if (part.Encoding == "base64") text = vbDecodeMime64(text);
        if (part.Encoding == "quoted-printable") text = quotedprintabledecode(text);
        return text;
    });
}

std::string HtmlPartToPlainText(const clsMessage& message, int i) {
    return guardedValue("HtmlPartToPlainText", Module, std::string(), [&] {
        const clsMimeType& part = message.MimePart(i);
        std::string text = part.Content;
        if (part.Encoding == "quoted-printable")
            text = quotedprintabledecode(text);
        else if (part.Encoding == "base64")
            text = vbDecodeMime64(text);

        size_t p = ts::findNoCase(text, "<blockquote");
        size_t q = ts::rfindNoCase(text, "</blockquote");
        if (p != std::string::npos && q != std::string::npos && q > p) {
            // The quoted lines get breaks, written back over the same span: the
            // longer text is cut there, so the quote loses its last characters.
            size_t n = q - p;
            std::string span = ts::replaceAll(std::string_view(text).substr(p, n), "\r", "<BR>");
            text.replace(p, n, span, 0, n);
        }

        ts::replaceInPlace(text, "\r\n", "");
        ts::removeByte(text, '\r');
        ts::removeByte(text, '\n');
        ts::replaceInPlaceNoCase(text, "<br>", "\r\n");
        ts::replaceInPlaceNoCase(text, "</p>", "\r\n");
        // Link targets stay in the text.
        ts::replaceInPlaceNoCase(text, "<a href=\"", " ");
        ts::replaceInPlaceNoCase(text, "<a href='", " ");
        ts::replaceInPlaceNoCase(text, "<a href=", " ");
        ts::replaceInPlaceNoCase(text, "</a>", " ");
        striphtml(text);
        htmltochar(text);
        htmlconsttochar(text);
        return text;
    });
}

std::string extractplainmessage(const clsMessage& message) {
    return guardedValue("extractplainmessage", Module, std::string(), [&] {
        std::string result;
        const int count = message.MimePartCount();
        auto typeOf = [&](int i) -> const std::string& { return message.MimePart(i).ContentType; };

        [&] {
            if (count >= 2 && typeOf(1) == "text/html" && typeOf(count - 1) == "text/plain") {
                result = HtmlPartToPlainText(message, 1) + "\r\n" + DecodedPartText(message, 2);
                return;
            }
            for (int i = 1; i <= count; ++i) {
                if (typeOf(i) == "text/plain") {
                    result = message.MimePart(i).Content;
                    if (!result.empty()) return;
                    break;
                }
            }
            for (int i = 1; i <= count; ++i) {
                if (typeOf(i) == "text/html") {
                    result = HtmlPartToPlainText(message, i);
                    return;
                }
            }
            if (count < 2) {
                if (!ts::containsNoCase(message.MessageBody, "<html>")) {
                    result = message.MessageBody;
                    eatcrapfromend(result);
                } else {
                    result = HtmlPartToPlainText(message, 1);
                }
            } else {
                result.clear();
            }
        }();

        // Mailing-list footers go only when the user asked for it.
        if (sget("Tweaks", false).toBool()) {
            size_t cut = ts::findNoCase(
                result, "------------------------ Yahoo! Groups Sponsor --------------------~-->");
            if (cut != std::string::npos) result.resize(cut);
            cut = ts::findNoCase(result, "Yahoo! Groups Links");
            if (cut != std::string::npos) result.resize(cut);
        }
        return result;
    });
}

} // namespace corva
