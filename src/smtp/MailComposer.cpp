// The outgoing format. Every line ends in CRLF; the layout is the one servers
// and spool files have always had, so a change here shows on the wire.
#include "smtp/MailComposer.h"

#include "core/AppInfo.h"
#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/Strings.h"
#include "message/Base64.h"
#include "platform/Platform.h"
#include "smtp/HeaderWords.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <random>

namespace corva {

namespace {

constexpr const char* Module = "clsSendmail";
constexpr const char* CRLF = "\r\n";

const char* const Base64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The uuencode table: entry i is the character of code 32 + i, entry 0 is "`".
char uuChar(int i) {
    return i == 0 ? '`' : static_cast<char>(32 + i);
}

void line(MailComposer::Sink& out, const std::string& text) {
    out.put(text + CRLF);
}

} // namespace

void MailComposer::clearMessage() {
    recipients.clear();
    recipientNames.clear();
    ccRecipients.clear();
    ccNames.clear();
    bccRecipients.clear();
    attachments.clear();
    attachmentNames.clear();
    replyTo.clear();
    subject.clear();
    message.clear();
    eightBit = false;
    asHTML = false;
    contentBase.clear();
    // The number only: a message nobody gave a priority carries an empty text.
    priority = 3;
    priorityText.clear();
    receipt = false;
}

void MailComposer::setMessage(const std::string& text) {
    message = FormatMail(text);
    eightBit = false;
    for (unsigned char c : message)
        if (c > 127) {
            eightBit = true;
            break;
        }
}

// ---- Encoders ----

std::string MailComposer::encodebase64byte(const std::string& bytes) {
    // 19 groups make the 76 characters of a line.
    std::string out = cEncode64(bytes, 19);
    if (!EndsWith(out, CRLF)) out += CRLF;
    return out;
}

std::string MailComposer::decodebase64string(const std::string& text) {
    std::string out;
    unsigned buffer = 0;
    int bits = 0;
    for (char c : text) {
        if (c == '=') break;
        const char* at = std::strchr(Base64Alphabet, c);
        if (c == '\0' || at == nullptr) continue;
        buffer = (buffer << 6) | static_cast<unsigned>(at - Base64Alphabet);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            out += static_cast<char>((buffer >> bits) & 0xFF);
        }
    }
    return out;
}

std::string MailComposer::uuencodestring(const std::string& bytes) {
    if (bytes.size() > 63) return "";
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    size_t n = bytes.size();
    std::string out(1, uuChar(static_cast<int>(n)));
    for (size_t i = 0; i < n; i += 3) {
        unsigned v = static_cast<unsigned>(p[i]) << 16;
        if (i + 1 < n) v |= static_cast<unsigned>(p[i + 1]) << 8;
        if (i + 2 < n) v |= p[i + 2];
        size_t left = n - i;
        out += uuChar((v >> 18) & 63);
        out += uuChar((v >> 12) & 63);
        // A short last group is marked the way this encoder always has.
        if (left == 1) {
            out += "==";
            break;
        }
        out += uuChar((v >> 6) & 63);
        if (left == 2) {
            out += "=";
            break;
        }
        out += uuChar(v & 63);
    }
    return out;
}

std::string MailComposer::timeZoneText(int biasMinutes) {
    int hours = -biasMinutes / 60; // truncates toward zero
    int minutes = std::abs(biasMinutes % 60);
    std::string text =
        (hours < 0 ? "-" + TwoDigits(-hours) : TwoDigits(hours)) + TwoDigits(minutes);
    if (text[0] != '-') text = "+" + text;
    return text;
}

std::string MailComposer::contentType(const std::string& fileName, const std::string& fallback) {
    return guardedValue("GetContentType", Module, fallback, [&] {
        size_t dot = InStrRev(fileName, ".");
        if (dot == 0) return fallback;
        std::string found =
            platform::current().fileTypes().contentTypeForExtension(Mid(fileName, dot + 1));
        return found.empty() ? fallback : found;
    });
}

// ---- Text preparation ----

// One pass adds one dot to each line that starts with one; callers that run it
// twice get two, which the upload relies on.
std::string MailComposer::FormatMail(const std::string& text) {
    return guardedValue("FormatMail", Module, text, [&] {
        const std::string lineEnd = InStr(text, CRLF) ? CRLF : InStr(text, "\r") ? "\r" : "";
        const std::string wrapEnd = lineEnd.empty() ? CRLF : lineEnd;
        std::string out;
        out.reserve(text.size() + text.size() / 64 + 16);
        size_t start = 0;
        for (;;) {
            size_t end = lineEnd.empty() ? std::string::npos : text.find(lineEnd, start);
            size_t stop = end == std::string::npos ? text.size() : end;
            std::string_view piece(text.data() + start, stop - start);
            if (!piece.empty() && piece[0] == '.') {
                std::string stuffed = "." + std::string(piece);
                appendWrapped(out, stuffed, wrapEnd);
            } else {
                appendWrapped(out, piece, wrapEnd);
            }
            if (end == std::string::npos) break;
            out += lineEnd;
            start = end + lineEnd.size();
        }
        return out;
    });
}

// Lines longer than 998 characters break at the last blank within the first
// 998, or at 998 when there is none.
void MailComposer::appendWrapped(std::string& out, std::string_view piece,
                                 const std::string& wrapEnd) {
    while (piece.size() >= 999) {
        size_t cut = piece.substr(0, 998).rfind(' ');
        cut = cut == std::string_view::npos ? 998 : cut + 1;
        out.append(piece.substr(0, cut));
        out += wrapEnd;
        piece.remove_prefix(cut);
        // A piece that now starts a line must not end the data early.
        if (!piece.empty() && piece[0] == '.') {
            std::string stuffed = "." + std::string(piece);
            appendWrapped(out, stuffed, wrapEnd);
            return;
        }
    }
    out.append(piece);
}

// ---- Composition ----

std::string MailComposer::fromValue(bool spooling) const {
    std::string name = fromDisplayName;
    if (spooling && name.empty()) name = from;
    if (name.empty()) return "<" + from + ">";
    return DisplayName(name) + " <" + from + ">";
}

std::string MailComposer::addressValue(const std::vector<std::string>& addresses,
                                       const std::vector<std::string>& names, bool spooling) {
    std::string value;
    for (size_t i = 0; i < addresses.size(); ++i) {
        std::string name = i < names.size() ? names[i] : "";
        if (spooling && name.empty()) name = addresses[i];
        if (!name.empty()) value += DisplayName(name);
        if (!value.empty()) value += " ";
        value += "<" + addresses[i] + ">";
        if (i + 1 < addresses.size()) value += ", \r\n    ";
    }
    return value;
}

std::string MailComposer::newMessageId() const {
    static unsigned long counter = 0;
    static std::mt19937_64 random{std::random_device{}()};
    char text[96];
    std::snprintf(text, sizeof text, "%lld.%lu.%016llx",
                  static_cast<long long>(DateTime::now().serial() * 86400.0), ++counter,
                  static_cast<unsigned long long>(random()));
    const size_t at = from.find('@');
    const std::string domain = at == std::string::npos || at + 1 >= from.size()
                                   ? std::string("corva.invalid")
                                   : from.substr(at + 1);
    return "<" + std::string(text) + "@" + domain + ">";
}

std::string MailComposer::dateLine() const {
    return "Date: " + DateTime::now().format("ddd, d mmm yyyy hh:nn:ss ") + timeZone;
}

bool MailComposer::write(Sink& out, bool spooling) const {
    char serial[32];
    std::snprintf(serial, sizeof serial, "%017.8f", DateTime::now().serial());
    const std::string boundary = std::string("----_=_NextPart_000_") + serial;

    line(out, "From: " + fromValue(spooling));
    line(out, "To: " + addressValue(recipients, recipientNames, spooling));
    std::string cc = addressValue(ccRecipients, ccNames, spooling);
    if (!cc.empty()) line(out, "Cc: " + cc);
    if (spooling && !bccRecipients.empty())
        line(out, "Bcc: " + addressValue(bccRecipients, {}, false));
    if (!replyTo.empty()) line(out, "Reply-to: <" + replyTo + ">");
    line(out, "Subject: " + HeaderText(subject));
    if (withMessageId) line(out, "Message-ID: " + newMessageId());
    if (encodeType == 0) {
        line(out, "MIME-Version: 1.0");
        line(out, "X-Priority: " + Str(priority));
        line(out, "X-MSMail-Priority: " + priorityText);
        line(out, "X-Mailer: " + AppTitle() + " " + AppVersion());
        if (receipt) line(out, "Disposition-Notification-To: " + fromValue(spooling));
        if (multipart()) {
            line(out, "Content-Type: multipart/mixed;");
            line(out, "\tboundary=\"" + boundary + "\"");
            line(out, "");
            line(out, "This is a multi-part message in MIME format.");
            line(out, "");
            line(out, "--" + boundary);
        }
        line(out, std::string("Content-Type: ") + (asHTML ? "text/html;" : "text/plain;"));
        line(out, IsUtf8Text(message) ? "\tcharset=\"utf-8\"" : "\tcharset=\"iso-8859-1\"");
        line(out, std::string("Content-Transfer-Encoding: ") + (eightBit ? "8bit" : "7bit"));
        if (asHTML && !contentBase.empty()) line(out, "Content-Base: \"" + contentBase + "\"");
    }
    line(out, "");
    out.put(message + CRLF + CRLF);

    for (size_t i = 0; i < attachments.size(); ++i) {
        if (out.stopped()) return false;
        const std::string& name = attachmentNames[i];
        out.attaching(name);
        if (encodeType == 1) {
            line(out, "begin 600 " + name);
            if (!encodeFile(attachments[i], 1, out)) return false;
            line(out, "end");
        } else {
            line(out, "--" + boundary);
            line(out, "Content-Type: " + contentType(name, "application/octet-stream") + ";");
            line(out, "\tname=\"" + name + "\"");
            line(out, "Content-Transfer-Encoding: base64");
            line(out, "Content-Disposition: attachment;");
            line(out, "\tfilename=\"" + name + "\"");
            line(out, "");
            if (!encodeFile(attachments[i], 0, out)) return false;
            line(out, "");
        }
    }
    if (multipart()) line(out, "--" + boundary + "--");
    return true;
}

// Blocks of 200 base64 lines (or 50 uuencoded ones) with a pause between
// them, so a big attachment never freezes the windows.
bool MailComposer::encodeFile(const std::string& path, int type, Sink& out) const {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw RunError(Err::FileNotFound, "File not found: " + path);
    if (type == 0) {
        std::string block(11400, '\0');
        for (;;) {
            file.read(block.data(), static_cast<std::streamsize>(block.size()));
            std::streamsize got = file.gcount();
            if (got <= 0) break;
            out.put(encodebase64byte(block.substr(0, static_cast<size_t>(got))));
            if (!out.pause()) return false;
            if (got < static_cast<std::streamsize>(block.size())) break;
        }
        return true;
    }
    std::string chunk(45, '\0');
    int lines = 0;
    for (;;) {
        file.read(chunk.data(), 45);
        std::streamsize got = file.gcount();
        if (got <= 0) break;
        line(out, uuencodestring(chunk.substr(0, static_cast<size_t>(got))));
        if (++lines % 50 == 0 && !out.pause()) return false;
        if (got < 45) break;
    }
    return true;
}

} // namespace corva
