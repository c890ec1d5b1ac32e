// The SMTP engine. Everything waits by spinning on a flag that a socket event
// sets, with the event loop running, so callers must expect re-entry there.
#include "smtp/frmSendMail.h"

#include "core/Account.h"
#include "core/AppInfo.h"
#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/mSHAREDDelay.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "smtp/HeaderWords.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>

namespace corva {

namespace {

constexpr const char* Module = "clsSendmail";
constexpr const char* CRLF = "\r\n";
constexpr int NotInitialisedError = 23000;

const char* const Base64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

// The uuencode table: entry i is the character of code 32 + i, entry 0 is "`".
char uuChar(int i) {
    return i == 0 ? '`' : static_cast<char>(32 + i);
}

std::string twoDigits(int n) {
    char buffer[16];
    std::snprintf(buffer, sizeof buffer, "%02d", n);
    return buffer;
}

std::string fileNameOnly(const std::string& path) {
    size_t cut = path.find_last_of("\\/");
    return cut == std::string::npos ? path : path.substr(cut + 1);
}

} // namespace

// Where composed text goes: the socket while sending, a buffer while spooling.
class frmSendMail::Output {
public:
    Output(frmSendMail& engine, std::string* buffer) : engine_(engine), buffer_(buffer) {}
    void put(const std::string& text) {
        if (buffer_)
            buffer_->append(text);
        else
            engine_.sendText(text);
    }
    void line(const std::string& text) { put(text + CRLF); }
    bool spooling() const { return buffer_ != nullptr; }

private:
    frmSendMail& engine_;
    std::string* buffer_;
};

frmSendMail::frmSendMail()
    : sckMail_(platform::current().createSocket()), failTimer_(platform::current().createTimer()) {
    sckMail_->setListener(this);
    failTimer_->setInterval(0);
    failTimer_->setCallback([this] {
        failTimer_->setEnabled(false);
        if (failPending_) sendfail();
    });
}

frmSendMail::~frmSendMail() {
    guarded("Class_Terminate", Module, [&] {
        failTimer_->setEnabled(false);
        failTimer_->setCallback({});
        sckMail_->setListener(nullptr);
        if (sckMail_->state() > platform::SocketState::Closed) sckMail_->close();
    });
}

void frmSendMail::Initialise(int account) {
    guarded("Initialise", Module, [&] {
        const Account settings(account);
        account_ = account;
        const auto [host, port] = settings.smtpAddress();
        host_ = host;
        security_ = settings.smtpSecurity();
        port_ = static_cast<int32_t>(sget("RemotePort", 25).toLong());
        if (port_ == 25) port_ = port;
        connectTimeout_ = static_cast<int32_t>(sget("ConnectTimeout", 10).toLong());
        connectRetry_ = static_cast<int32_t>(sget("ConnectRetry", 3).toLong());
        messageTimeout_ = static_cast<int32_t>(sget("MessageTimeout", 60).toLong());
        encodeType_ = static_cast<int32_t>(sget("EncodeType", 0).toLong());
        useAuthentication_ = sget("UseAuthentication", false).toBool();
        username_ = settings.userName();
        password_.clear();
        persistentSettings_ = false;
        from_ = settings.replyAddress();
        fromDisplayName_ = settings.displayName();
        recipients_.clear();
        recipientNames_.clear();
        ccRecipients_.clear();
        ccNames_.clear();
        bccRecipients_.clear();
        attachments_.clear();
        attachmentNames_.clear();
        attachmentBytes_ = 0;
        attachmentNameLengths_ = 0;
        replyTo_.clear();
        subject_.clear();
        message_.clear();
        eightBit_ = false;
        asHTML_ = false;
        contentBase_.clear();
        // The number only: a message nobody gave a priority carries an empty text.
        priority_ = 3;
        priorityText_.clear();
        receipt_ = false;
        delimiter_ = ';';
        timeZone_ = timeZoneText(platform::current().clock().standardBiasMinutes());
        initialised_ = true;
    });
}

// ---- Properties ----

void frmSendMail::setSMTPPort(int32_t port) {
    guarded("SMTPPort", Module, [&] {
        if (port < 1 || port > 65535) {
            adderror("Invalid Remote Port");
            return;
        }
        port_ = port;
        sset("RemotePort", static_cast<int>(port));
        removeerror("Invalid Remote Port");
    });
}

void frmSendMail::setConnectTimeout(int32_t seconds) {
    if (seconds >= 1 && seconds <= 120) connectTimeout_ = seconds;
    guarded("ConnectTimeout", Module, [&] { sset("ConnectTimeout", static_cast<int>(seconds)); });
}

void frmSendMail::setConnectRetry(int32_t count) {
    if (count >= 1 && count <= 20) connectRetry_ = count;
    guarded("ConnectRetry", Module, [&] { sset("ConnectRetry", static_cast<int>(count)); });
}

void frmSendMail::setMessageTimeout(int32_t seconds) {
    messageTimeout_ = seconds < 0 ? -seconds : seconds;
}

void frmSendMail::setEncodeType(int32_t type) {
    encodeType_ = type;
    guarded("EncodeType", Module, [&] { sset("EncodeType", static_cast<int>(type)); });
}

void frmSendMail::setUseAuthentication(bool on) {
    useAuthentication_ = on;
    guarded("UseAuthentication", Module, [&] { sset("UseAuthentication", on); });
}

void frmSendMail::setPersistentSettings(bool on) {
    persistentSettings_ = on;
    guarded("PersistentSettings", Module, [&] { sset("DefaultsSet", on); });
}

void frmSendMail::setMessage(const std::string& text) {
    message_ = FormatMail(text);
    eightBit_ = false;
    for (unsigned char c : message_)
        if (c > 127) {
            eightBit_ = true;
            break;
        }
}

void frmSendMail::setAttachment(const std::string& list) {
    guarded("Attachment", Module, [&] {
        static const std::string Missing = "The file you tried to attach does not exist";
        removeerror(Missing);
        attachments_.clear();
        attachmentNames_.clear();
        attachmentBytes_ = 0;
        attachmentNameLengths_ = 0;
        for (const std::string& entry : splitList(list)) {
            std::string path = Trim(entry);
            if (path.empty() || !FileExists(path)) {
                adderror(Missing);
                break;
            }
            std::string name = fileNameOnly(path);
            attachments_.push_back(path);
            attachmentNames_.push_back(name);
            attachmentBytes_ += FileSize(path);
            attachmentNameLengths_ += static_cast<long long>(name.size());
        }
    });
}

void frmSendMail::setContentBase(const std::string& base) {
    if (base.empty()) {
        contentBase_.clear();
        return;
    }
    std::string b = Replace(base, "\\", "/");
    if (InStr(b, "http://") == 0) b = "http://" + b;
    if (!EndsWith(b, "/")) b += "/";
    contentBase_ = b;
}

void frmSendMail::setPriority(int32_t priority) {
    priority_ = priority;
    if (priority == 1) priorityText_ = "High";
    if (priority == 3) priorityText_ = "Normal";
    if (priority == 5) priorityText_ = "Low";
}

void frmSendMail::setDelimiter(const std::string& delimiter) {
    if (!delimiter.empty()) delimiter_ = delimiter[0];
}

std::vector<std::string> frmSendMail::splitList(const std::string& text) const {
    if (text.empty()) return {};
    return Split(text, std::string(1, delimiter_));
}

std::string frmSendMail::joinList(const std::vector<std::string>& list) const {
    return Join(list, std::string(1, delimiter_));
}

// ---- Encoders ----

std::string frmSendMail::encodebase64byte(const std::string& bytes) {
    std::string out;
    out.reserve(bytes.size() / 3 * 4 + bytes.size() / 57 * 2 + 8);
    const auto* p = reinterpret_cast<const unsigned char*>(bytes.data());
    size_t n = bytes.size();
    int groups = 0;
    for (size_t i = 0; i < n; i += 3) {
        unsigned v = static_cast<unsigned>(p[i]) << 16;
        if (i + 1 < n) v |= static_cast<unsigned>(p[i + 1]) << 8;
        if (i + 2 < n) v |= p[i + 2];
        out += Base64Alphabet[(v >> 18) & 63];
        out += Base64Alphabet[(v >> 12) & 63];
        out += i + 1 < n ? Base64Alphabet[(v >> 6) & 63] : '=';
        out += i + 2 < n ? Base64Alphabet[v & 63] : '=';
        if (++groups == 19) {
            out += CRLF;
            groups = 0;
        }
    }
    if (!EndsWith(out, CRLF)) out += CRLF;
    return out;
}

std::string frmSendMail::decodebase64string(const std::string& text) {
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

std::string frmSendMail::uuencodestring(const std::string& bytes) {
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

std::string frmSendMail::timeZoneText(int biasMinutes) {
    int hours = -biasMinutes / 60; // truncates toward zero
    int minutes = std::abs(biasMinutes % 60);
    std::string text =
        (hours < 0 ? "-" + twoDigits(-hours) : twoDigits(hours)) + twoDigits(minutes);
    if (text[0] != '-') text = "+" + text;
    return text;
}

// ---- Text preparation ----

// One pass adds one dot to each line that starts with one; callers that run it
// twice get two, which the upload relies on.
std::string frmSendMail::FormatMail(const std::string& text) const {
    return guardedValue("FormatMail", Module, text, [&] {
        const std::string lineEnd = InStr(text, CRLF) ? CRLF : InStr(text, "\r") ? "\r" : "";
        const std::string wrapEnd = lineEnd.empty() ? CRLF : lineEnd;
        std::string out;
        out.reserve(text.size() + text.size() / 64 + 16);
        size_t start = 0;
        for (;;) {
            size_t end = lineEnd.empty() ? std::string::npos : text.find(lineEnd, start);
            size_t stop = end == std::string::npos ? text.size() : end;
            std::string_view line(text.data() + start, stop - start);
            if (!line.empty() && line[0] == '.') {
                std::string stuffed = "." + std::string(line);
                appendWrapped(out, stuffed, wrapEnd);
            } else {
                appendWrapped(out, line, wrapEnd);
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
void frmSendMail::appendWrapped(std::string& out, std::string_view line,
                                const std::string& wrapEnd) {
    while (line.size() >= 999) {
        size_t cut = line.substr(0, 998).rfind(' ');
        cut = cut == std::string_view::npos ? 998 : cut + 1;
        out.append(line.substr(0, cut));
        out += wrapEnd;
        line.remove_prefix(cut);
        // A piece that now starts a line must not end the data early.
        if (!line.empty() && line[0] == '.') {
            std::string stuffed = "." + std::string(line);
            appendWrapped(out, stuffed, wrapEnd);
            return;
        }
    }
    out.append(line);
}

std::string frmSendMail::GetContentType(const std::string& FileName,
                                        const std::string& ContentType) const {
    return guardedValue("GetContentType", Module, ContentType, [&] {
        size_t dot = InStrRev(FileName, ".");
        if (dot == 0) return ContentType;
        std::string found =
            platform::current().fileTypes().contentTypeForExtension(Mid(FileName, dot + 1));
        return found.empty() ? ContentType : found;
    });
}

std::string frmSendMail::GetIPHost() const {
    return guardedValue("GetIPHost", Module, std::string(), [&] {
        std::string name = sckMail_->localHostName();
        if (name.size() > 255) name.resize(255);
        size_t nul = name.find('\0');
        return nul == std::string::npos ? name : name.substr(0, nul);
    });
}

std::string frmSendMail::GetIPAddress(const std::string& host) const {
    return guardedValue("GetIPAddress", Module, std::string(), [&] {
        std::string name = host.empty() ? GetIPHost() : host;
        if (host.empty() || name == GetIPHost()) return sckMail_->localIP();
        return platform::current().nameLookup().ipv4Address(name);
    });
}

long long frmSendMail::estimatemailsize() const {
    auto len = [](const std::string& s) { return static_cast<long long>(s.size()); };
    long long total = 93 + len(from_);
    if (useAuthentication_) total += 25 + len(from_) + (len(username_) + len(password_)) * 4 / 3;
    auto addresses = [&](const std::vector<std::string>& list,
                         const std::vector<std::string>* names) {
        for (size_t i = 0; i < list.size(); ++i) {
            bool last = i + 1 == list.size();
            if (names) {
                total += 15 + 2 * len(list[i]) + (last ? 0 : 6);
                if (i < names->size() && !(*names)[i].empty()) total += 11 + len((*names)[i]);
            } else {
                total += 15 + len(list[i]) + (last ? 0 : 6);
            }
        }
    };
    addresses(recipients_, &recipientNames_);
    addresses(ccRecipients_, &ccNames_);
    addresses(bccRecipients_, nullptr);
    total += len(fromDisplayName_) + 3 + len(from_) + len(replyTo_) + len(subject_) + len(message_);
    if (encodeType_ == 0) total += len(contentBase_) + len(fromDisplayName_) + len(from_);
    long long count = static_cast<long long>(attachments_.size());
    if (encodeType_ == 1)
        total += attachmentBytes_ * 4 / 3 + (attachmentBytes_ / 45) * 3 + attachmentNameLengths_ +
                 20 * count;
    else
        total += attachmentBytes_ * 4 / 3 + (attachmentBytes_ / 57) * 2 +
                 2 * attachmentNameLengths_ + 182 * count;
    return total;
}

// ---- Composition ----

std::string frmSendMail::fromValue(bool spooling) const {
    std::string name = fromDisplayName_;
    if (spooling && name.empty()) name = from_;
    if (name.empty()) return "<" + from_ + ">";
    return DisplayName(name) + " <" + from_ + ">";
}

// Each further address sits on a folded line of its own.
std::string frmSendMail::addressValue(const std::vector<std::string>& addresses,
                                      const std::vector<std::string>& names, bool spooling) const {
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

std::string frmSendMail::newMessageId() const {
    static unsigned long counter = 0;
    static std::mt19937_64 random{std::random_device{}()};
    char text[96];
    std::snprintf(text, sizeof text, "%lld.%lu.%016llx",
                  static_cast<long long>(DateTime::now().serial() * 86400.0), ++counter,
                  static_cast<unsigned long long>(random()));
    const size_t at = from_.find('@');
    const std::string domain = at == std::string::npos || at + 1 >= from_.size()
                                   ? std::string("corva.invalid")
                                   : from_.substr(at + 1);
    return "<" + std::string(text) + "@" + domain + ">";
}

std::string frmSendMail::dateLine() const {
    return "Date: " + DateTime::now().format("ddd, d mmm yyyy hh:nn:ss ") + timeZone_;
}

// Everything after the Date: line: headers, body, attachments.
void frmSendMail::writeBody(Output& out, bool spooling) {
    const bool multipart = encodeType_ == 0 && !attachments_.empty();
    char serial[32];
    std::snprintf(serial, sizeof serial, "%017.8f", DateTime::now().serial());
    const std::string boundary = std::string("----_=_NextPart_000_") + serial;

    out.line("From: " + fromValue(spooling));
    out.line("To: " + addressValue(recipients_, recipientNames_, spooling));
    std::string cc = addressValue(ccRecipients_, ccNames_, spooling);
    if (!cc.empty()) out.line("Cc: " + cc);
    if (spooling && !bccRecipients_.empty())
        out.line("Bcc: " + addressValue(bccRecipients_, {}, false));
    if (!replyTo_.empty()) out.line("Reply-to: <" + replyTo_ + ">");
    out.line("Subject: " + HeaderText(subject_));
    // Servers that score mail without one as junk see it on secure accounts,
    // which are the ones that reach such servers; plain ones keep their bytes.
    if (security_ != 0) out.line("Message-ID: " + newMessageId());
    if (encodeType_ == 0) {
        out.line("MIME-Version: 1.0");
        out.line("X-Priority: " + Str(priority_));
        out.line("X-MSMail-Priority: " + priorityText_);
        out.line("X-Mailer: " + AppTitle() + " " + AppVersion());
        if (receipt_) out.line("Disposition-Notification-To: " + fromValue(spooling));
        if (multipart) {
            out.line("Content-Type: multipart/mixed;");
            out.line("\tboundary=\"" + boundary + "\"");
            out.line("");
            out.line("This is a multi-part message in MIME format.");
            out.line("");
            out.line("--" + boundary);
        }
        out.line(std::string("Content-Type: ") + (asHTML_ ? "text/html;" : "text/plain;"));
        out.line(IsUtf8Text(message_) ? "\tcharset=\"utf-8\"" : "\tcharset=\"iso-8859-1\"");
        out.line(std::string("Content-Transfer-Encoding: ") + (eightBit_ ? "8bit" : "7bit"));
        if (asHTML_ && !contentBase_.empty()) out.line("Content-Base: \"" + contentBase_ + "\"");
    }
    out.line("");
    out.put(message_ + CRLF + CRLF);

    for (size_t i = 0; i < attachments_.size(); ++i) {
        if (aborted_) return;
        const std::string& name = attachmentNames_[i];
        if (!spooling) raiseStatus("Sending attachment " + name + "...");
        if (encodeType_ == 1) {
            out.line("begin 600 " + name);
            if (!encodeandsendfile(attachments_[i], 1, out)) return;
            out.line("end");
        } else {
            std::string type = GetContentType(name, "application/octet-stream");
            out.line("--" + boundary);
            out.line("Content-Type: " + type + ";");
            out.line("\tname=\"" + name + "\"");
            out.line("Content-Transfer-Encoding: base64");
            out.line("Content-Disposition: attachment;");
            out.line("\tfilename=\"" + name + "\"");
            out.line("");
            if (!encodeandsendfile(attachments_[i], 0, out)) return;
            out.line("");
        }
    }
    if (multipart) out.line("--" + boundary + "--");
}

// Blocks of 200 base64 lines (or 50 uuencoded ones) with an event pass between
// them, so a big attachment never freezes the windows.
bool frmSendMail::encodeandsendfile(const std::string& path, int type, Output& out) {
    std::ifstream file(path, std::ios::binary);
    if (!file) throw RunError(Err::FileNotFound, "File not found: " + path);
    if (type == 0) {
        std::string block(11400, '\0');
        for (;;) {
            file.read(block.data(), static_cast<std::streamsize>(block.size()));
            std::streamsize got = file.gcount();
            if (got <= 0) break;
            out.put(encodebase64byte(block.substr(0, static_cast<size_t>(got))));
            flushText();
            DoEvents();
            if (aborted_) return false;
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
        out.line(uuencodestring(chunk.substr(0, static_cast<size_t>(got))));
        if (++lines % 50 == 0) {
            flushText();
            DoEvents();
            if (aborted_) return false;
        }
        if (got < 45) break;
    }
    return true;
}

// ---- Checks, errors and events ----

bool frmSendMail::checkBeforeSending() {
    if (asHTML_ && encodeType_ == 1) adderror("Sending HTML requires MIME encoding");
    if (recipients_.empty()) adderror("No Recipient E-mail Address Specified");
    // Upper bounds, as the limit has always been counted: -1 for an empty list.
    long bounds = static_cast<long>(recipients_.size()) - 1 +
                  static_cast<long>(ccRecipients_.size()) - 1 +
                  static_cast<long>(bccRecipients_.size()) - 1;
    if (bounds + 3 > 100) adderror("Too many recipients");
    if (!errors_.empty()) {
        sendfail();
        return false;
    }
    return true;
}

void frmSendMail::adderror(const std::string& text) {
    std::string clean = Replace(text, "\r", "");
    errors_.push_back(clean);
    LogAction(clean);
}

void frmSendMail::removeerror(const std::string& text) {
    for (auto it = errors_.begin(); it != errors_.end(); ++it)
        if (EqualsNoCase(*it, text)) {
            errors_.erase(it);
            return;
        }
}

void frmSendMail::timeout() {
    adderror("Timeout occurred: The SMTP Host did not respond to the request");
    sendfail();
}

// A failure found inside a socket event is run from the next event pass: the
// socket delivers no further data while one of its own events is running, so
// the QUIT that the failure sends could never hear its answer.
void frmSendMail::failsoon() {
    failPending_ = true;
    failTimer_->setEnabled(true);
}

void frmSendMail::sendfail() {
    failPending_ = false;
    failTimer_->setEnabled(false);
    outgoing_.clear();
    std::string text = Join(errors_, CRLF);
    errors_.clear();
    guarded("sendfail", Module, [&] {
        if (sckMail_->state() > platform::SocketState::Closed) disconnectfromhost();
    });
    aborted_ = true;
    LogAction(text);
    if (listener_) listener_->SendFailed(text);
}

void frmSendMail::raiseStatus(const std::string& text) {
    if (listener_) listener_->Status(text);
}

void frmSendMail::raiseProgress(int percent) {
    lastPercent_ = percent;
    if (listener_) listener_->Progress(percent);
}

// Output is gathered and written when the engine next waits or lets events
// run: one write per step, so that small pieces never sit out a delayed
// acknowledgement behind each other.
void frmSendMail::sendText(const std::string& text) {
    outgoing_ += text;
}

void frmSendMail::flushText() {
    if (outgoing_.empty()) return;
    std::string text;
    text.swap(outgoing_);
    socketProgress_ = 0; // the socket counts its progress from each send
    sckMail_->sendData(text);
}

void frmSendMail::socketConnected() {
    connected_ = true;
}

void frmSendMail::socketClosed() {
    connected_ = false;
    closedByServer_ = true;
}

void frmSendMail::socketSecured() {
    secured_ = true;
}

void frmSendMail::socketError(int number, const std::string& description) {
    guarded("sckMail_Error", Module, [&] {
        if (number == platform::SocketError::CertificateRejected) {
            // The connection attempt decides: the user may still trust it.
            certificateRefused_ = true;
            closedByServer_ = true;
            return;
        }
        adderror(description.empty() ? "Socket error " + Str(number) : description);
        failsoon();
    });
}

void frmSendMail::socketSendProgress(long long bytesSent, long long bytesRemaining) {
    (void)bytesRemaining;
    // A slow transfer that is still moving must not run into the time-out.
    deadline_ += 5;
    long long delta = bytesSent >= socketProgress_ ? bytesSent - socketProgress_ : bytesSent;
    socketProgress_ = bytesSent;
    bytesSent_ += delta;
    if (totalSize_ <= 0) return;
    float share = static_cast<float>(bytesSent_) / static_cast<float>(totalSize_) * 100.0f;
    int percent = static_cast<int>(share);
    if (percent > 100) percent = 100;
    if (percent != lastPercent_) raiseProgress(percent);
}

// Replies, one data event at a time. A reply is not tied to the command that
// caused it: the flags only say that some reply of that kind has come.
//
//   code      action
//   220       reply seen
//   250       reply seen; "auth login" anywhere -> login offered,
//             "auth=login" anywhere -> auth parameter
//   221, 251  reply seen
//   235       logged in
//   334       answer the LOGIN challenge (or a "235" second line: logged in)
//   354       data ready
//   211, 214  nothing
//   other     the reply text becomes an error and the transfer fails
//
// Dialogue, with the flag each step waits for:
//   state         sends                        waits for      next
//   Disconnected  connect                      connected      Connecting
//   Connecting    EHLO (auth) / HELO <domain>  reply seen     Greeted
//   Greeted       AUTH LOGIN (when offered)    logged in      Ready
//   Ready         MAIL FROM: <from>            reply seen     InTransaction
//   InTransaction RCPT TO: <addr>, each        reply seen     InTransaction
//   InTransaction DATA                         data ready     InData
//   InData        Date:, message, "."          reply seen     Ready (keep open) / Closed
//   any           QUIT                         reply seen, 2s Closed
void frmSendMail::socketDataArrival(const std::string& data) {
    guarded("sckMail_DataArrival", Module, [&] {
        // A read may end inside a reply or hold several (a greeting glued to the
        // answer to EHLO); each complete reply is handled on its own.
        pendingReply_ += data;
        std::vector<std::string> replies;
        size_t start = 0;
        for (size_t pos = 0;;) {
            size_t eol = pendingReply_.find('\n', pos);
            if (eol == std::string::npos) break;
            bool more = eol - pos >= 4 && pendingReply_[pos + 3] == '-';
            pos = eol + 1;
            if (!more) {
                replies.push_back(pendingReply_.substr(start, pos - start));
                start = pos;
            }
        }
        pendingReply_.erase(0, start);
        if (pairing_) {
            for (const std::string& reply : replies)
                replies_.push_back({static_cast<int>(Val(Left(reply, 3))), reply});
            replyQueued_ = !replies_.empty();
            return;
        }
        for (size_t i = 0; i < replies.size(); ++i) {
            const std::string& reply = replies[i];
            int code = static_cast<int>(Val(Left(reply, 3)));
            // Success right behind the password challenge: logged in, and the
            // challenge goes unanswered.
            if (code == 334 && i + 1 < replies.size() && StartsWith(replies[i + 1], "235")) {
                loggedIn_ = true;
                loginDone_ = true;
                ++i;
                continue;
            }
            std::string text = Trim(Mid(reply, 4));
            if (EndsWith(text, CRLF)) text.resize(text.size() - 2);
            onReply(code, reply, text);
        }
    });
}

void frmSendMail::onReply(int code, const std::string& whole, const std::string& text) {
    switch (code) {
    case 220:
    case 221:
    case 251:
        replySeen_ = true;
        break;
    case 250:
        replySeen_ = true;
        if (InStrNoCase(whole, "auth login")) loginOffered_ = true;
        if (InStrNoCase(whole, "auth=login")) authParameter_ = true;
        break;
    case 235:
        loggedIn_ = true;
        loginDone_ = true;
        break;
    case 334:
        onAuthChallenge(text);
        break;
    case 354:
        dataReady_ = true;
        break;
    case 211:
    case 214:
        break;
    default:
        if (legacyLogin_) {
            // Refused: the standard login on a new connection gets its chance.
            LogAction("Login refused: " + text);
            loginRefused_ = true;
            loginDone_ = true;
            break;
        }
        adderror(text);
        failsoon();
        break;
    }
}

// The encoder ends every text with CRLF, so each credential goes out followed
// by an empty line. Servers have always been sent exactly that.
void frmSendMail::onAuthChallenge(const std::string& text) {
    std::vector<std::string> lines = Split(text, CRLF);
    if (lines.size() > 1 && StartsWith(lines[1], "235")) {
        loggedIn_ = true;
        loginDone_ = true;
        return;
    }
    std::string challenge = decodebase64string(lines[0]);
    if (InStrNoCase(challenge, "username"))
        sendText(encodebase64string(username_) + CRLF);
    else if (InStrNoCase(challenge, "password"))
        sendText(encodebase64string(password_) + CRLF);
    else
        sendText(std::string(CRLF) + "*" + CRLF);
    flushText();
}

// ---- Waiting ----

bool frmSendMail::waituntiltrue(const bool& flag, int seconds, bool fatal) {
    flushText();
    if (seconds < 1) return false;
    deadline_ = SecondsOfDay() + static_cast<float>(seconds);
    // Near midnight the deadline wraps and lies behind the clock: the wait then
    // ends at its first look. It always has.
    if (deadline_ >= 86400.0f) deadline_ -= 86400.0f;
    for (;;) {
        if (flag) return true;
        if (closedByServer_) {
            // Waiting on would only run into the time-out.
            if (fatal) {
                // A refusal that came just before the close is the reason to give.
                if (!failPending_) adderror("The SMTP Host closed the connection");
                sendfail();
            }
            return false;
        }
        if (SecondsOfDay() >= deadline_) break;
        if (aborted_) return false;
        float rest = deadline_ - SecondsOfDay();
        WaitUntilTrue(
            [&] { return flag || aborted_ || closedByServer_ || SecondsOfDay() >= deadline_; },
            rest < 1.0f ? 1.0f : rest);
        if (aborted_ && !flag) return false;
    }
    if (fatal) timeout();
    return false;
}

// ---- Connection ----

bool frmSendMail::Connect() {
    keepOpen_ = true;
    return guardedValue("Connect", Module, false, [&] { return connecttohost(); });
}

void frmSendMail::Disconnect() {
    keepOpen_ = false;
    guarded("Disconnect", Module, [&] { disconnectfromhost(); });
}

bool frmSendMail::connecttohost() {
    using namespace platform;
    loginOffered_ = false;
    aborted_ = false;
    int state = sckMail_->state();
    if (state == SocketState::Connected) return true;
    if (security_ != 0) return pairedConnect();
    closedByServer_ = false;
    if (state == SocketState::Closed) {
        connected_ = false;
        pendingReply_.clear();
        outgoing_.clear();
        // A new connection has to log in again.
        loggedIn_ = false;
        authParameter_ = false;
    }
    raiseStatus("Connecting to Server...");
    for (int attempt = 0; attempt < connectRetry_; ++attempt) {
        state = sckMail_->state();
        if (state == SocketState::Connected) {
            connected_ = true;
            break;
        }
        if (state == SocketState::Closed) sckMail_->connect(host_, port_);
        if (waituntiltrue(connected_, connectTimeout_, false)) break;
        if (aborted_) return false;
        if (sckMail_->state() == SocketState::Error) sckMail_->close();
    }
    if (!connected_) {
        timeout();
        return false;
    }
    raiseStatus("Initialising Communications...");
    replySeen_ = false;
    sendText(std::string(useAuthentication_ ? "EHLO " : "HELO ") +
             Mid(from_, InStr(from_, "@") + 1) + CRLF);
    if (!waituntiltrue(replySeen_, connectTimeout_, true)) return false;
    if (useAuthentication_) {
        if (waituntiltrue(loginOffered_, 5, false)) {
            raiseStatus("Sending Login Authentication...");
            sendText(std::string("AUTH LOGIN") + CRLF);
            legacyLogin_ = true;
            loginRefused_ = false;
            loginDone_ = loggedIn_;
            waituntiltrue(loginDone_, 5, false);
            legacyLogin_ = false;
            if (loginRefused_ && !loggedIn_) {
                // Most servers refuse the exchange as written (the empty lines):
                // one new connection tries the standard login.
                LogAction("The server refused the login; trying the standard login on a new "
                          "connection");
                sckMail_->close();
                connected_ = false;
                return pairedConnect();
            }
            if (!loggedIn_) {
                // No error and the socket stays up: the caller hears of it by the result.
                raiseStatus("Host Login Failed!");
                return false;
            }
            raiseStatus("Host Login OK!");
            if (aborted_) return false;
        } else {
            raiseStatus("Login Not Supported by Host, Continuing...");
        }
    }
    return true;
}

// The paired dialogue, for TLS and for the standard login:
//
//   step        sends                          wants    on anything else
//   connect     (TLS first with security 1)    secured  refused certificate: ask, else fail
//   greeting    -                              220      fail with the reply
//   hello       EHLO <domain>                  250      fail
//   starttls    STARTTLS (security 2)          220      fail ("refuses STARTTLS")
//   handshake   -                              secured  fail
//   hello again EHLO <domain>                  250      fail
//   login       AUTH PLAIN, else AUTH LOGIN    235      fail ("Host Login Failed!")
//
// Every reply is taken by the step that sent its command; after the login the
// flags take over for the transfer, one reply per command.
bool frmSendMail::pairedConnect() {
    for (int attempt = 0; attempt < 2; ++attempt) {
        const bool implicitTls = security_ == 1;
        if (!openConnection(implicitTls)) {
            if (certificateRefused_ && attempt == 0 && certificateTrusted()) continue;
            if (certificateRefused_) {
                const platform::CertificateInfo c = sckMail_->peerCertificate();
                const std::string trusted = Account(account_).trustedCertificate("SMTP");
                const std::string server = host_ + ":" + Str(port_);
                std::string why = trusted.empty()
                                      ? "The certificate of " + server + " was not accepted.\n" +
                                            platform::describeCertificate(c) +
                                            "\nTo trust it: corva trust --account " + Str(account_)
                                      : "The certificate of " + server +
                                            " has changed since you trusted it, and is refused.\n" +
                                            platform::describeCertificate(c);
                return pairedFail(why);
            }
            if (aborted_) return false;
            return pairedFail(closedByServer_ ? "The SMTP Host closed the connection"
                                              : "Timeout occurred: The SMTP Host did not "
                                                "respond to the request");
        }
        break;
    }
    const std::string domain = Mid(from_, InStr(from_, "@") + 1);
    raiseStatus("Initialising Communications...");
    auto fails = [&](const std::optional<Reply>& r, int want, const std::string& what) {
        if (r && r->code == want) return false;
        std::string text = r ? Trim(Mid(r->text, 5)) : "";
        if (!r)
            text = closedByServer_ ? "The SMTP Host closed the connection"
                                   : "Timeout occurred: The SMTP Host did not respond to the "
                                     "request";
        else if (!what.empty())
            text = what + ": " + text;
        pairedFail(text);
        return true;
    };
    std::optional<Reply> r = exchange("", connectTimeout_);
    if (fails(r, 220, "")) return false;
    r = exchange("EHLO " + domain, connectTimeout_);
    if (fails(r, 250, "")) return false;
    if (security_ == 2 && !sckMail_->isSecure()) {
        if (InStrNoCase(r->text, "STARTTLS") == 0)
            return pairedFail("The server does not offer STARTTLS");
        r = exchange("STARTTLS", connectTimeout_);
        if (fails(r, 220, "The server refuses STARTTLS")) return false;
        secured_ = false;
        certificateRefused_ = false;
        sckMail_->startSecure(host_);
        if (!waituntiltrue(secured_, connectTimeout_, false)) {
            if (certificateRefused_ && certificateTrusted()) return pairedConnect();
            return pairedFail(certificateRefused_
                                  ? "The certificate of " + host_ + ":" + Str(port_) +
                                        " was not accepted.\n" +
                                        platform::describeCertificate(sckMail_->peerCertificate()) +
                                        "\nTo trust it: corva trust --account " + Str(account_)
                                  : "The secure connection failed");
        }
        r = exchange("EHLO " + domain, connectTimeout_);
        if (fails(r, 250, "")) return false;
    }
    if (useAuthentication_ && !standardLogin(r->text)) return false;
    pairing_ = false;
    replies_.clear();
    authParameter_ = false;
    return true;
}

bool frmSendMail::openConnection(bool secureFromStart) {
    pairing_ = true;
    replies_.clear();
    replyQueued_ = false;
    pendingReply_.clear();
    outgoing_.clear();
    connected_ = false;
    secured_ = false;
    closedByServer_ = false;
    certificateRefused_ = false;
    loggedIn_ = false;
    raiseStatus("Connecting to Server...");
    const std::string trusted = Account(account_).trustedCertificate("SMTP");
    sckMail_->setTrustedFingerprints(trusted.empty() ? std::vector<std::string>{}
                                                     : std::vector<std::string>{trusted});
    for (int attempt = 0; attempt < connectRetry_; ++attempt) {
        if (sckMail_->state() != platform::SocketState::Closed) sckMail_->close();
        closedByServer_ = false;
        if (secureFromStart)
            sckMail_->connectSecure(host_, port_, host_);
        else
            sckMail_->connect(host_, port_);
        if (waituntiltrue(connected_, connectTimeout_, false)) return true;
        if (aborted_ || certificateRefused_) break;
    }
    return false;
}

bool frmSendMail::certificateTrusted() {
    const platform::CertificateInfo c = sckMail_->peerCertificate();
    const Account settings(account_);
    if (c.empty() || !settings.trustedCertificate("SMTP").empty()) return false;
    if (!platform::current().prompts().trustCertificate(host_ + ":" + Str(port_), c)) return false;
    settings.setTrustedCertificate("SMTP", c.fingerprint);
    savesettings();
    LogAction("Certificate " + c.fingerprint + " trusted for " + host_ + ":" + Str(port_));
    return true;
}

std::optional<frmSendMail::Reply> frmSendMail::exchange(const std::string& command, int seconds) {
    if (!command.empty()) sendText(command + CRLF);
    replyQueued_ = !replies_.empty();
    if (!replyQueued_ && !waituntiltrue(replyQueued_, seconds, false)) return std::nullopt;
    if (replies_.empty()) return std::nullopt;
    Reply reply = replies_.front();
    replies_.pop_front();
    replyQueued_ = !replies_.empty();
    if (EndsWith(reply.text, CRLF)) reply.text.resize(reply.text.size() - 2);
    return reply;
}

bool frmSendMail::pairedFail(const std::string& text) {
    pairing_ = false;
    replies_.clear();
    if (failPending_ && !errors_.empty()) {
        sendfail();
        return false;
    }
    errors_.clear();
    adderror(text);
    sendfail();
    return false;
}

std::vector<std::string> frmSendMail::offeredMechanisms(const std::string& ehloReply) {
    std::vector<std::string> found;
    for (const std::string& line : Split(ehloReply, CRLF)) {
        if (line.size() < 4) continue;
        std::string rest = UCase(Trim(line.substr(4)));
        if (!StartsWith(rest, "AUTH ") && !StartsWith(rest, "AUTH=")) continue;
        for (const std::string& word : Split(rest.substr(5), " "))
            if (!word.empty()) found.push_back(word);
    }
    return found;
}

// AUTH PLAIN when offered, else AUTH LOGIN; each answer on one line of its own.
bool frmSendMail::standardLogin(const std::string& ehloReply) {
    auto oneLine = [](const std::string& bytes) {
        return Replace(encodebase64byte(bytes), CRLF, "");
    };
    const std::vector<std::string> offered = offeredMechanisms(ehloReply);
    auto offers = [&](const char* m) {
        return std::find(offered.begin(), offered.end(), m) != offered.end();
    };
    std::optional<Reply> r;
    if (offers("PLAIN")) {
        raiseStatus("Sending Login Authentication...");
        r = exchange("AUTH PLAIN " + oneLine(std::string(1, '\0') + username_ +
                                             std::string(1, '\0') + password_),
                     connectTimeout_);
    } else if (offers("LOGIN")) {
        raiseStatus("Sending Login Authentication...");
        r = exchange("AUTH LOGIN", connectTimeout_);
        if (r && r->code == 334) r = exchange(oneLine(username_), connectTimeout_);
        if (r && r->code == 334) r = exchange(oneLine(password_), connectTimeout_);
    } else {
        raiseStatus("Login Not Supported by Host, Continuing...");
        return true;
    }
    if (r && r->code == 235) {
        loggedIn_ = true;
        raiseStatus("Host Login OK!");
        return true;
    }
    raiseStatus("Host Login Failed!");
    return pairedFail(r ? "Login refused: " + Trim(Mid(r->text, 5))
                        : "Login failed: the server did not answer");
}

void frmSendMail::disconnectfromhost() {
    if (disconnecting_) return;
    disconnecting_ = true;
    guarded("disconnectfromhost", Module, [&] {
        if (sckMail_->state() != platform::SocketState::Closed)
            raiseStatus("Closing Connection...");
        if (connected_ && sckMail_->state() == platform::SocketState::Connected) {
            replySeen_ = false;
            sendText(std::string("QUIT") + CRLF);
            waituntiltrue(replySeen_, 2, false);
        }
        sckMail_->close();
    });
    disconnecting_ = false;
}

// ---- Sending ----

bool frmSendMail::Send(bool AlreadyFormatted) {
    return guardedValue("Send", Module, false, [&] {
        if (!initialised_) throw RunError(NotInitialisedError, "Sendmail not initialised");
        const int finalWait = attachments_.empty() ? messageTimeout_ : 600;
        if (!checkBeforeSending()) return false;

        totalSize_ = estimatemailsize();
        lastPercent_ = -1;
        aborted_ = false;
        if (sckMail_->state() != platform::SocketState::Connected && !connecttohost()) return false;
        bytesSent_ = 0;
        replySeen_ = false;

        std::string suffix = authParameter_ ? " AUTH=" + from_ : "";
        raiseStatus("Sending 'From'...");
        sendText("MAIL FROM: <" + from_ + ">" + suffix + CRLF);
        if (!waituntiltrue(replySeen_, connectTimeout_, true)) return false;

        raiseStatus("Sending 'To'...");
        for (const auto* list : {&recipients_, &ccRecipients_, &bccRecipients_})
            for (const std::string& address : *list) {
                replySeen_ = false;
                sendText("RCPT TO: <" + Trim(address) + ">" + CRLF);
                if (!waituntiltrue(replySeen_, connectTimeout_, true) || aborted_) return false;
            }

        raiseStatus("Starting transmission...");
        dataReady_ = false;
        sendText(std::string("DATA") + CRLF);
        flushText();
        // A pause for slow servers, cut short as soon as the go-ahead is in.
        platform::current().eventLoop().runUntil([&] { return dataReady_ || aborted_; }, 1500);
        DoEvents();
        if (!waituntiltrue(dataReady_, connectTimeout_, true)) return false;

        replySeen_ = false;
        sendText(dateLine() + CRLF);
        if (AlreadyFormatted) {
            raiseStatus("Sending message");
            // In slices with an event pass between them, as attachments go:
            // a spooled message may carry megabytes of them.
            const size_t slice = 11400 * 78 / 57;
            for (size_t at = 0; at < message_.size() && !aborted_; at += slice) {
                sendText(message_.substr(at, slice));
                if (at + slice >= message_.size()) break; // the rest goes with the dot
                flushText();
                DoEvents();
            }
            if (!aborted_) sendText(std::string(CRLF) + CRLF);
        } else {
            Output out(*this, nullptr);
            writeBody(out, false);
        }
        if (aborted_) return false;

        replySeen_ = false;
        sendText(std::string(".") + CRLF);
        if (!waituntiltrue(replySeen_, finalWait, true)) return false;

        raiseProgress(100);
        totalSize_ = 0; // the QUIT that may follow is no part of the message
        raiseStatus("Transmission Complete...");
        if (listener_) listener_->SendSuccessful();
        if (!keepOpen_) disconnectfromhost();
        return true;
    });
}

bool frmSendMail::SpoolToFile(const std::string& FileName) {
    return guardedValue("SpoolToFile", Module, false, [&] {
        if (!checkBeforeSending()) return false;
        std::string text;
        Output out(*this, &text);
        writeBody(out, true);
        // Written beside the target, made durable and renamed over it, so that
        // an upload never meets half a message and a crash loses none.
        if (!WriteFileInSlices(ResolvePath(FileName), text, Durability::Synced, true))
            throw RunError(Err::PathFileAccess, "Cannot write " + FileName);
        return true;
    });
}

} // namespace corva
