// Turns an outgoing message's properties into the bytes that go out: the
// header layout, the body, the attachments and the encoders they use. The
// same bytes serve spooling and sending; only the sink differs.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corva {

class MailComposer {
public:
    // Where the composed text goes.
    class Sink {
    public:
        virtual ~Sink() = default;
        virtual void put(const std::string& text) = 0;
        // A failure elsewhere ends the message before its next attachment.
        virtual bool stopped() const { return false; }
        // Between blocks of an attachment: hand over what is written and let
        // events run. False ends the message.
        virtual bool pause() { return !stopped(); }
        virtual void attaching(const std::string& name) { (void)name; }
    };

    // The message. Lists hold one entry per address, names index for index.
    std::string from, fromDisplayName;
    std::vector<std::string> recipients, recipientNames;
    std::vector<std::string> ccRecipients, ccNames;
    std::vector<std::string> bccRecipients;
    std::string replyTo, subject;
    std::string message; // already through FormatMail
    bool eightBit = false;
    std::vector<std::string> attachments, attachmentNames; // paths, bare names
    bool asHTML = false;
    std::string contentBase;
    int32_t priority = 3;
    std::string priorityText;
    bool receipt = false;
    int32_t encodeType = 0; // 0 MIME, 1 uuencode
    std::string timeZone;   // "+HHMM"
    // Secure accounts reach servers that score mail without one as junk.
    bool withMessageId = false;

    // Empties the message; the encoding and time zone stay.
    void clearMessage();
    // Sets the body through FormatMail and notes whether it holds 8-bit bytes.
    void setMessage(const std::string& text);

    bool multipart() const { return encodeType == 0 && !attachments.empty(); }
    // "Date: ddd, d mmm yyyy hh:nn:ss +HHMM", without the line end.
    std::string dateLine() const;
    // Everything after the Date: line. Spooling writes Bcc and lets the
    // display names fall back on the addresses. False when the sink stopped
    // it; a missing attachment throws RunError.
    bool write(Sink& out, bool spooling) const;

    std::string fromValue(bool spooling) const;
    // Each further address sits on a folded line of its own.
    static std::string addressValue(const std::vector<std::string>& addresses,
                                    const std::vector<std::string>& names, bool spooling);
    // "<time.count.random@domain>", unique for every message this program writes.
    std::string newMessageId() const;

    // Dot-stuffs every line and wraps lines longer than 998 characters.
    static std::string FormatMail(const std::string& text);
    // base64 with a CRLF after 76 characters and at the end.
    static std::string encodebase64byte(const std::string& bytes);
    static std::string decodebase64string(const std::string& text);
    // One uuencoded line (without line end) for up to 63 bytes; "" above that.
    static std::string uuencodestring(const std::string& bytes);
    // "+HHMM" or "-HHMM" from a standard bias in minutes (west of UTC positive).
    static std::string timeZoneText(int biasMinutes);
    // The registered content type of a file's extension, else the given one.
    static std::string contentType(const std::string& fileName, const std::string& fallback);

private:
    static void appendWrapped(std::string& out, std::string_view line, const std::string& wrapEnd);
    bool encodeFile(const std::string& path, int type, Sink& out) const;
};

} // namespace corva
