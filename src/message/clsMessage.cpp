// The message object: the loose header reader, the raw text the store writes
// back, and the stripped bodies the word tests read.
#include "message/clsMessage.h"

#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/Strings.h"
#include "core/mSHAREDGeneral.h"
#include "core/mSHAREDLogging.h"
#include "message/TextScan.h"
#include "message/modMIME.h"
#include "message/modTextConvert.h"

#include <array>
#include <cmath>
#include <cstdio>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace corva {

namespace ts = textscan;

namespace {

constexpr const char* Module = "clsMessage";
constexpr std::string_view BlankLine = "\r\n\r\n";
// The header block's end is held in a 16-bit integer; past it the message is invalid.
constexpr size_t MaxHeaderPosition = 32767;

enum class Field {
    To,
    ReturnPath,
    Received,
    From,
    Sender,
    ReplyTo,
    CC,
    BCC,
    DomainKey,
    MessageID,
    InReplyTo,
    UserAgent,
    OrigIP,
    References,
    ReturnReceiptTo,
    Keywords,
    Subject,
    Comments,
    Encrypted,
    SendDate,
    ReceiveDate,
    ContentType,
    Read,
    HighPriority,
    Replied,
    XMailer,
    XSpamStatus,
    XSpamReport,
    XEnvelopeTo,
    SpamTestsFailed
};

// The known header names (lower case) in a small open-addressing table: a
// header line costs a probe or two, without the general string hash.
class FieldTable {
public:
    FieldTable(std::initializer_list<std::pair<std::string_view, Field>> names) {
        for (const auto& [name, field] : names) {
            size_t i = slotOf(name);
            while (!slots_[i].name.empty()) i = (i + 1) & (Size - 1);
            slots_[i] = Slot{name, field};
        }
    }
    const Field* find(std::string_view name) const {
        if (name.empty()) return nullptr;
        for (size_t i = slotOf(name);; i = (i + 1) & (Size - 1)) {
            const Slot& slot = slots_[i];
            if (slot.name.empty()) return nullptr;
            if (slot.name == name) return &slot.field;
        }
    }

private:
    static constexpr size_t Size = 128; // a power of two, a quarter full
    struct Slot {
        std::string_view name;
        Field field = Field::To;
    };
    static size_t slotOf(std::string_view name) {
        auto at = [&name](size_t i) {
            return static_cast<size_t>(static_cast<unsigned char>(name[i]));
        };
        return (name.size() * 31 + at(0) * 7 + at(name.size() / 2) * 5 + at(name.size() - 1)) &
               (Size - 1);
    }
    std::array<Slot, Size> slots_{};
};

const FieldTable& fieldTable() {
    static const FieldTable table = {
        {"to", Field::To},
        {"return-path", Field::ReturnPath},
        {"received", Field::Received},
        {"from", Field::From},
        {"sender", Field::Sender},
        {"reply-to", Field::ReplyTo},
        {"cc", Field::CC},
        {"bcc", Field::BCC},
        {"domainkey-signature", Field::DomainKey},
        {"message-id", Field::MessageID},
        {"in-reply-to", Field::InReplyTo},
        {"user-agent", Field::UserAgent},
        {"x-originating-ip", Field::OrigIP},
        {"references", Field::References},
        {"return-receipt-to", Field::ReturnReceiptTo},
        {"keywords", Field::Keywords},
        {"subject", Field::Subject},
        {"comments", Field::Comments},
        {"encrypted", Field::Encrypted},
        {"date", Field::SendDate},
        {"x-receive-date", Field::ReceiveDate},
        {"content-type", Field::ContentType},
        {"x-message-read", Field::Read},
        {"x-message-highpriority", Field::HighPriority},
        {"x-message-replied", Field::Replied},
        {"x-mailer", Field::XMailer},
        {"x-spam-status", Field::XSpamStatus},
        {"x-spam-report", Field::XSpamReport},
        {"x-envelope-to", Field::XEnvelopeTo},
        {"x-spam-tests-failed", Field::SpamTestsFailed},
    };
    return table;
}

std::string withoutTrailingJunk(std::string_view value) {
    std::string s(value);
    eatcrapfromend(s);
    return s;
}

// The store's flag lines count as set only for exactly 1.
bool isOne(std::string_view value) {
    return Val(value) == 1;
}

// Adds or removes one of the store's flag lines at the end of the header block.
void applyFlagLine(std::string& text, bool set, std::string_view line) {
    std::string withEnd = std::string(line) + "\r\n";
    if (set) {
        if (text.find(withEnd) != std::string::npos) return;
        size_t p = text.find(BlankLine);
        if (p == std::string::npos) return;
        text.insert(p, "\r\n" + std::string(line));
    } else {
        // The body isn't protected: a quoted flag line goes too, as it always has.
        ts::replaceInPlace(text, withEnd, "");
        ts::replaceInPlace(text, line, "");
    }
}

std::string nowStamp() {
    DateTime now = DateTime::now();
    char buf[32];
    std::snprintf(buf, sizeof buf, "%04d-%02d-%02d %02d:%02d:%02d", now.year(), now.month(),
                  now.day(), now.hour(), now.minute(), now.second());
    return buf;
}

} // namespace

std::string clsMessage::Filename() const {
    // Only the file's own name carries the read state; its folders keep their case.
    std::string out = filename_;
    size_t slash = out.find_last_of("/\\");
    size_t start = slash == std::string::npos ? 0 : slash + 1;
    for (size_t i = start; i < out.size(); ++i)
        out[i] = Read ? ts::lower(out[i]) : ts::upper(out[i]);
    return out;
}

void clsMessage::setFilename(const std::string& path) {
    filename_ = path;
}

const clsMimeType& clsMessage::MimePart(int index) const {
    static const clsMimeType empty;
    if (index < 1 || static_cast<size_t>(index) > parts_.size()) return empty;
    return parts_[static_cast<size_t>(index) - 1];
}

int16_t clsMessage::MimePartCount() const {
    return static_cast<int16_t>(std::min<size_t>(parts_.size(), 32767));
}

void clsMessage::AddAttachment(const std::string& name) {
    guarded("AddAttachment", Module, [&] { attachments_.push_back(name); });
}

void clsMessage::ClearAttachments() {
    attachments_.clear();
    HasAttachment = false;
}

void clsMessage::DeleteMimeParts() {
    parts_.clear();
}

void clsMessage::CreateFromText(const std::string& strMessage, bool vHeaderOnly) {
    create(strMessage, vHeaderOnly, false);
}

void clsMessage::CreateForWordCount(const std::string& strMessage) {
    create(strMessage, false, true);
}

void clsMessage::create(const std::string& strMessage, bool vHeaderOnly, bool wordCountOnly) {
    unnamedMessages_ = 0;
    StrippedBody.clear();
    HtmlStrippedBody.clear();
    DeleteMimeParts();
    ClearAttachments();
    HeaderOnly = vHeaderOnly;
    Received.clear();
    XSpamStatus.clear();
    XSpamReport.clear();
    DomainKey.clear();
    Read = false;
    HighPriority = false;
    HasAttachment = false;
    ContentTypeMain.clear();

    bool ok = guarded("createfromtext", Module, [&] {
        if (!wordCountOnly) raw_ = strMessage;
        float kb =
            static_cast<float>(std::nearbyint(static_cast<double>(strMessage.size()) / 1024.0));
        Size = kb < 1.0f ? 1.0f : kb;
    });
    if (!ok) return;

    size_t position = 0; // 1-based, 0 when there is no blank line
    size_t found = strMessage.find(BlankLine);
    if (found != std::string::npos) position = found + 1;
    if (position > MaxHeaderPosition) {
        HandleError(RunError(Err::Overflow), "createfromtext", Module);
        position = 0;
    }
    if (position == 0) {
        RecordAction("Invalid message format", "createfromtext", Module);
        return;
    }

    ok = guarded("createfromtext", Module, [&] {
        Headers.assign(strMessage, 0, position - 1);
        if (wordCountOnly) return;
        MessageBody.assign(strMessage, position + 3);
        Messagetext = strMessage;
    });
    if (!ok) return;

    guarded("createfromtext", Module, [&] { parseHeaderLines(); });

    if (!HeaderOnly) {
        guarded("createfromtext", Module, [&] {
            NewDecodePart(strMessage);
            // The word counts read the undecoded body only when there are no parts.
            if (wordCountOnly && parts_.empty()) MessageBody.assign(strMessage, position + 3);
        });
        strip(wordCountOnly);
    }
}

void clsMessage::parseHeaderLines() {
    const auto& table = fieldTable();
    std::string previous;
    std::string name; // reused from line to line, so a header costs no allocation
    std::string_view all = Headers;
    size_t start = 0;
    for (;;) {
        size_t end = all.find("\r\n", start);
        std::string_view line =
            all.substr(start, end == std::string_view::npos ? all.size() - start : end - start);
        name.clear();
        std::string_view value;
        size_t colon = line.find(':');
        if (colon == std::string_view::npos) {
            value = ts::trimView(line);
        } else {
            // Not trimmed: "Received :" is an unknown header.
            name.assign(line.data(), colon);
            for (char& c : name) c = ts::lower(c);
            value = ts::trimView(line.substr(colon + 1));
        }
        // A line without a name continues the one before: that is how folding is read.
        if (name.empty()) name = previous;
        // Keeps the h=Received:From:... line of a folded DomainKey-Signature inside it.
        if (name.size() >= 10 && ts::trimView(name) == "h=received") name = previous;

        if (const Field* field = table.find(name)) {
            // Most fields replace: a folded continuation overwrites its first line,
            // and users' rules were written against exactly that.
            switch (*field) {
            case Field::To:
                To_Email = isodecodeView(value);
                break;
            case Field::ReturnPath:
                ReturnPath = value;
                break;
            case Field::Received:
                // What is left of the header block bounds every Received line to come.
                if (Received.empty()) Received.reserve(all.size() - start + 1);
                Received += ' ';
                Received += value;
                break;
            case Field::From:
                From = isodecodeView(value);
                break;
            case Field::Sender:
                Sender = isodecodeView(value);
                break;
            case Field::ReplyTo:
                ReplyTo = isodecodeView(value);
                break;
            case Field::CC:
                CC = value;
                break;
            case Field::BCC:
                BCC = value;
                break;
            case Field::DomainKey:
                DomainKey += value;
                break;
            case Field::MessageID:
                MessageID = value;
                break;
            case Field::InReplyTo:
                InReplyTo = value;
                break;
            case Field::UserAgent:
                UserAgent = value;
                break;
            case Field::OrigIP:
                OrigIP = value;
                break;
            case Field::References:
                References = value;
                break;
            case Field::ReturnReceiptTo:
                ReturnReceiptTo = value;
                break;
            case Field::Keywords:
                Keywords = value;
                break;
            case Field::Subject:
                if (previous == "subject")
                    Subject += " " + isodecodeView(value);
                else
                    Subject = isodecodeView(value);
                break;
            case Field::Comments:
                Comments = value;
                break;
            case Field::Encrypted:
                Encrypted = value;
                break;
            case Field::SendDate:
                SendDate = withoutTrailingJunk(value);
                break;
            case Field::ReceiveDate:
                ReceiveDate = withoutTrailingJunk(value);
                break;
            case Field::ContentType:
                if (ContentTypeMain.empty()) {
                    ContentTypeMain = value;
                    ts::removeByte(ContentTypeMain, ';');
                }
                break;
            case Field::Read:
                Read = isOne(value);
                break;
            case Field::HighPriority:
                HighPriority = isOne(value);
                break;
            case Field::Replied:
                Replied = isOne(value);
                break;
            case Field::XMailer:
                XMailer = value;
                break;
            case Field::XSpamStatus:
                XSpamStatus += value;
                break;
            case Field::XSpamReport:
                XSpamReport += value;
                break;
            case Field::XEnvelopeTo:
                XEnvelopeTo = value;
                break;
            case Field::SpamTestsFailed:
                SpamTestsFailed = value;
                break;
            }
        }
        previous.swap(name);
        if (end == std::string_view::npos) break;
        start = end + 2;
    }
}

std::string clsMessage::RawMessage() const {
    return guardedValue("RawMessage", Module, std::string(), [&] {
        std::string text = raw_;
        applyFlagLine(text, Read, "X-Message-Read: 1");
        applyFlagLine(text, Replied, "X-Message-Replied: 1");
        if (text.find("X-Receive-Date") == std::string::npos) {
            size_t p = text.find(BlankLine);
            if (p != std::string::npos) text.insert(p, "\r\nX-Receive-Date: " + nowStamp());
        }
        applyFlagLine(text, HighPriority, "X-Message-HighPriority: 1");
        return text;
    });
}

void clsMessage::ReplaceRawMessage(const std::string& NewRawMessage) {
    guarded("ReplaceRawMessage", Module, [&] { raw_ = NewRawMessage; });
}

void clsMessage::RemoveReceiveDate() {
    guarded("RemoveReceiveDate", Module, [&] {
        size_t p = raw_.find("X-Receive-Date");
        if (p == std::string::npos) return;
        // The line end is looked up in the text RawMessage yields, from the
        // position found in the raw text; the two agree unless a flag line
        // stands in front of the date.
        std::string shown = RawMessage();
        size_t end = shown.find("\r\n", p);
        size_t stop = end == std::string::npos ? raw_.size() : std::min(end + 2, raw_.size());
        if (stop < p) stop = p;
        raw_.erase(p, stop - p);
    });
}

void clsMessage::TagAsSpam() {
    guarded("TagAsSpam", Module, [&] {
        if (Headers.find("Subject: SPAM:") != std::string::npos) return;
        // The whole raw text is tagged, so a "Subject: " line in the body is too.
        ts::replaceInPlace(raw_, "Subject: ", "Subject: SPAM: ");
    });
}

void clsMessage::CreateStripped() {
    strip(false);
}

// For the word counts only the body they read is made, and the parts give up
// their text rather than copy it.
void clsMessage::strip(bool wordCountOnly) {
    guarded("CreateStripped", Module, [&] {
        auto take = [wordCountOnly](std::string& content) -> std::string {
            if (wordCountOnly) return std::move(content);
            return content;
        };
        std::string text;
        std::string contentType;
        if (!parts_.empty()) {
            text = take(parts_[0].Content);
            contentType = parts_[0].ContentType;
            if (ts::trimView(text).empty()) {
                for (size_t i = 1; i < parts_.size(); ++i) {
                    text = take(parts_[i].Content);
                    contentType = parts_[i].ContentType;
                    if (!text.empty() && parts_[i].Encoding == "base64")
                        text = vbDecodeMime64(text);
                    if (!ts::trimView(text).empty()) break;
                }
            }
        } else if (MessageBody.size() <= 50000) {
            // Huge plain bodies stay out of the word tests.
            text = MessageBody;
        }

        // Decoded whatever the part claims: a plain "=41" comes out as "A".
        if (text.find('=') != std::string::npos) text = quotedprintabledecode(text);

        auto plainBody = [this](std::string body) {
            StrippedBody = std::move(body);
            if (StrippedBody.empty()) return;
            ts::lineEndsInPlace(StrippedBody, true);
            htmlconsttochar(StrippedBody);
            htmltochar(StrippedBody);
        };
        std::string lowerType = ts::lowerCopy(contentType);
        if (text.empty() ||
            (!ts::contains(lowerType, "html") && !ts::contains(lowerType, "text"))) {
            plainBody(std::move(text));
            HtmlStrippedBody.clear();
            return;
        }
        if (!wordCountOnly) plainBody(text);
        HtmlStrippedBody = wordCountOnly ? text : std::move(text);
        ts::lineEndsInPlace(HtmlStrippedBody, false);
        htmlconsttochar(HtmlStrippedBody);
        htmltochar(HtmlStrippedBody);
        striphtml(HtmlStrippedBody);
        // The word counts fall back on the plain body only when this one is empty.
        if (wordCountOnly && HtmlStrippedBody.empty()) plainBody(std::move(text));
    });
}

} // namespace corva
