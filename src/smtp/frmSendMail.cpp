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
#include "localise/modLanguages.h"
#include "smtp/HeaderWords.h"
#include "smtp/SmtpFailures.h"

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

std::string fileNameOnly(const std::string& path) {
    size_t cut = path.find_last_of("\\/");
    return cut == std::string::npos ? path : path.substr(cut + 1);
}

} // namespace

// Where composed text goes while sending: the socket, with an event pass
// between blocks so the windows stay alive.
class frmSendMail::Output : public MailComposer::Sink {
public:
    explicit Output(frmSendMail& engine) : engine_(engine) {}
    void put(const std::string& text) override { engine_.sendText(text); }
    bool stopped() const override { return engine_.aborted_; }
    bool pause() override {
        engine_.flushText();
        DoEvents();
        return !engine_.aborted_;
    }
    void attaching(const std::string& name) override {
        engine_.raiseStatus(Replace(gettranslation("Sending attachment @@@..."), "@@@", name));
    }

private:
    frmSendMail& engine_;
};

// A spool is written whole: no transfer can stop it, so a send that failed
// earlier never cuts the attachments off a later spool.
class SpoolText : public MailComposer::Sink {
public:
    void put(const std::string& text) override { text_ += text; }
    bool pause() override {
        DoEvents();
        return true;
    }
    std::string text_;
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
        mail_.encodeType = static_cast<int32_t>(sget("EncodeType", 0).toLong());
        useAuthentication_ = sget("UseAuthentication", false).toBool();
        username_ = settings.userName();
        password_.clear();
        persistentSettings_ = false;
        mail_.clearMessage();
        mail_.from = settings.replyAddress();
        mail_.fromDisplayName = settings.displayName();
        mail_.withMessageId = security_ != 0;
        attachmentBytes_ = 0;
        attachmentNameLengths_ = 0;
        delimiter_ = ';';
        mail_.timeZone =
            MailComposer::timeZoneText(platform::current().clock().standardBiasMinutes());
        initialised_ = true;
    });
}

// ---- Properties ----

void frmSendMail::setSMTPPort(int32_t port) {
    guarded("SMTPPort", Module, [&] {
        if (port < 1 || port > 65535) {
            adderror(InvalidPortText);
            return;
        }
        port_ = port;
        sset("RemotePort", static_cast<int>(port));
        removeerror(InvalidPortText);
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
    mail_.encodeType = type;
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
    mail_.setMessage(text);
}

void frmSendMail::setAttachment(const std::string& list) {
    guarded("Attachment", Module, [&] {
        removeerror(MissingAttachmentText);
        mail_.attachments.clear();
        mail_.attachmentNames.clear();
        attachmentBytes_ = 0;
        attachmentNameLengths_ = 0;
        for (const std::string& entry : splitList(list)) {
            std::string path = Trim(entry);
            if (path.empty() || !FileExists(path)) {
                adderror(MissingAttachmentText);
                break;
            }
            std::string name = fileNameOnly(path);
            mail_.attachments.push_back(path);
            mail_.attachmentNames.push_back(name);
            attachmentBytes_ += FileSize(path);
            attachmentNameLengths_ += static_cast<long long>(name.size());
        }
    });
}

void frmSendMail::setContentBase(const std::string& base) {
    if (base.empty()) {
        mail_.contentBase.clear();
        return;
    }
    std::string b = Replace(base, "\\", "/");
    if (InStr(b, "http://") == 0) b = "http://" + b;
    if (!EndsWith(b, "/")) b += "/";
    mail_.contentBase = b;
}

void frmSendMail::setPriority(int32_t priority) {
    mail_.priority = priority;
    if (priority == 1) mail_.priorityText = "High";
    if (priority == 3) mail_.priorityText = "Normal";
    if (priority == 5) mail_.priorityText = "Low";
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
    long long total = 93 + len(mail_.from);
    if (useAuthentication_)
        total += 25 + len(mail_.from) + (len(username_) + len(password_)) * 4 / 3;
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
    addresses(mail_.recipients, &mail_.recipientNames);
    addresses(mail_.ccRecipients, &mail_.ccNames);
    addresses(mail_.bccRecipients, nullptr);
    total += len(mail_.fromDisplayName) + 3 + len(mail_.from) + len(mail_.replyTo) +
             len(mail_.subject) + len(mail_.message);
    if (mail_.encodeType == 0)
        total += len(mail_.contentBase) + len(mail_.fromDisplayName) + len(mail_.from);
    long long count = static_cast<long long>(mail_.attachments.size());
    if (mail_.encodeType == 1)
        total += attachmentBytes_ * 4 / 3 + (attachmentBytes_ / 45) * 3 + attachmentNameLengths_ +
                 20 * count;
    else
        total += attachmentBytes_ * 4 / 3 + (attachmentBytes_ / 57) * 2 +
                 2 * attachmentNameLengths_ + 182 * count;
    return total;
}

// ---- Checks, errors and events ----

bool frmSendMail::checkBeforeSending() {
    if (mail_.asHTML && mail_.encodeType == 1) adderror(HtmlNeedsMimeText);
    if (mail_.recipients.empty()) adderror(NoRecipientText);
    // Upper bounds, as the limit has always been counted: -1 for an empty list.
    long bounds = static_cast<long>(mail_.recipients.size()) - 1 +
                  static_cast<long>(mail_.ccRecipients.size()) - 1 +
                  static_cast<long>(mail_.bccRecipients.size()) - 1;
    if (bounds + 3 > 100) adderror(TooManyRecipientsText);
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
    adderror(SmtpTimeoutText);
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
    session_.connected();
}

void frmSendMail::socketClosed() {
    connected_ = false;
    closedByServer_ = true;
    session_.closed();
}

void frmSendMail::socketSecured() {
    session_.secured();
}

void frmSendMail::socketError(int number, const std::string& description) {
    guarded("sckMail_Error", Module, [&] {
        if (number == platform::SocketError::CertificateRejected) {
            // The connection attempt decides: the user may still trust it.
            session_.certificateRefused();
            closedByServer_ = true;
            return;
        }
        adderror(description.empty() ? FilledIn(SocketErrorForm, {Str(number)}) : description);
        failsoon();
    });
}

void frmSendMail::socketSendProgress(long long bytesSent, long long bytesRemaining) {
    // A slow transfer that is still moving must not run into the time-out. A
    // command written out whole is no such transfer: moving the deadline then
    // made a silent server's one-second wait last six.
    if (bytesRemaining > 0) deadline_ += 5;
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
        const std::vector<std::string> replies = framer_.take(data);
        if (session_.active()) {
            session_.replies(replies);
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
                if (!failPending_) adderror(SmtpClosedText);
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
    if (security_ != 0) return sessionConnect();
    closedByServer_ = false;
    if (state == SocketState::Closed) {
        connected_ = false;
        framer_.clear();
        outgoing_.clear();
        // A new connection has to log in again.
        loggedIn_ = false;
        authParameter_ = false;
    }
    raiseStatus(gettranslation("Connecting to Server..."));
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
    raiseStatus(gettranslation("Initialising Communications..."));
    replySeen_ = false;
    sendText(std::string(useAuthentication_ ? "EHLO " : "HELO ") +
             Mid(mail_.from, InStr(mail_.from, "@") + 1) + CRLF);
    if (!waituntiltrue(replySeen_, connectTimeout_, true)) return false;
    if (useAuthentication_) {
        if (waituntiltrue(loginOffered_, 5, false)) {
            raiseStatus(gettranslation("Sending Login Authentication..."));
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
                return sessionConnect();
            }
            if (!loggedIn_) {
                // No error and the socket stays up: the caller hears of it by the result.
                raiseStatus(gettranslation("Host Login Failed!"));
                return false;
            }
            raiseStatus(gettranslation("Host Login OK!"));
            if (aborted_) return false;
        } else {
            raiseStatus(gettranslation("Login Not Supported by Host, Continuing..."));
        }
    }
    return true;
}

// Secure accounts, and the standard login after a refusal, go through the
// session, where each reply answers its own command; once it stands the
// transfer runs on the flags, one reply per command.
bool frmSendMail::sessionConnect() {
    framer_.clear();
    outgoing_.clear();
    connected_ = false;
    closedByServer_ = false;
    loggedIn_ = false;
    SmtpSession::Options o;
    o.account = account_;
    o.host = host_;
    o.port = port_;
    o.security = security_;
    o.domain = Mid(mail_.from, InStr(mail_.from, "@") + 1);
    o.login = useAuthentication_;
    o.user = username_;
    o.password = password_;
    o.timeout = connectTimeout_;
    o.retries = connectRetry_;
    const bool ok = session_.open(o);
    if (ok) {
        // A close left over from a refused first connection is no news now.
        closedByServer_ = sckMail_->state() != platform::SocketState::Connected;
        loggedIn_ = session_.loggedIn();
        authParameter_ = false;
        return true;
    }
    if (session_.failure().empty()) return false; // aborted from outside
    if (failPending_ && !errors_.empty()) {
        // A socket error came first: it is the reason to give.
        sendfail();
        return false;
    }
    errors_.clear();
    adderror(session_.failure());
    sendfail();
    return false;
}

bool frmSendMail::wait(const std::function<bool()>& done, int seconds) {
    flushText();
    if (seconds < 1) return false;
    return WaitUntilTrue([&] { return done() || aborted_; }, static_cast<float>(seconds)) &&
           !aborted_;
}

void frmSendMail::disconnectfromhost() {
    if (disconnecting_) return;
    disconnecting_ = true;
    guarded("disconnectfromhost", Module, [&] {
        if (sckMail_->state() != platform::SocketState::Closed)
            raiseStatus(gettranslation("Closing Connection..."));
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
        const int finalWait = mail_.attachments.empty() ? messageTimeout_ : 600;
        if (!checkBeforeSending()) return false;

        totalSize_ = estimatemailsize();
        lastPercent_ = -1;
        aborted_ = false;
        if (sckMail_->state() != platform::SocketState::Connected && !connecttohost()) return false;
        bytesSent_ = 0;
        replySeen_ = false;

        std::string suffix = authParameter_ ? " AUTH=" + mail_.from : "";
        raiseStatus(gettranslation("Sending 'From'..."));
        sendText("MAIL FROM: <" + mail_.from + ">" + suffix + CRLF);
        if (!waituntiltrue(replySeen_, connectTimeout_, true)) return false;

        raiseStatus(gettranslation("Sending 'To'..."));
        for (const auto* list : {&mail_.recipients, &mail_.ccRecipients, &mail_.bccRecipients})
            for (const std::string& address : *list) {
                replySeen_ = false;
                sendText("RCPT TO: <" + Trim(address) + ">" + CRLF);
                if (!waituntiltrue(replySeen_, connectTimeout_, true) || aborted_) return false;
            }

        raiseStatus(gettranslation("Starting transmission..."));
        dataReady_ = false;
        sendText(std::string("DATA") + CRLF);
        flushText();
        // A pause for slow servers, cut short as soon as the go-ahead is in.
        platform::current().eventLoop().runUntil([&] { return dataReady_ || aborted_; }, 1500);
        DoEvents();
        if (!waituntiltrue(dataReady_, connectTimeout_, true)) return false;

        replySeen_ = false;
        sendText(mail_.dateLine() + CRLF);
        if (AlreadyFormatted) {
            raiseStatus(gettranslation("Sending message"));
            // In slices with an event pass between them, as attachments go:
            // a spooled message may carry megabytes of them.
            const size_t slice = 11400 * 78 / 57;
            const std::string& message = mail_.message;
            for (size_t at = 0; at < message.size() && !aborted_; at += slice) {
                sendText(message.substr(at, slice));
                if (at + slice >= message.size()) break; // the rest goes with the dot
                flushText();
                DoEvents();
            }
            if (!aborted_) sendText(std::string(CRLF) + CRLF);
        } else {
            Output out(*this);
            mail_.write(out, false);
        }
        if (aborted_) return false;

        replySeen_ = false;
        sendText(std::string(".") + CRLF);
        if (!waituntiltrue(replySeen_, finalWait, true)) return false;

        raiseProgress(100);
        totalSize_ = 0; // the QUIT that may follow is no part of the message
        raiseStatus(gettranslation("Transmission Complete..."));
        if (listener_) listener_->SendSuccessful();
        if (!keepOpen_) disconnectfromhost();
        return true;
    });
}

bool frmSendMail::SpoolToFile(const std::string& FileName) {
    return guardedValue("SpoolToFile", Module, false, [&] {
        if (!checkBeforeSending()) return false;
        SpoolText out;
        mail_.write(out, true);
        const std::string& text = out.text_;
        // Written beside the target, made durable and renamed over it, so that
        // an upload never meets half a message and a crash loses none.
        if (!WriteFileInSlices(ResolvePath(FileName), text, Durability::Synced, true))
            throw RunError(Err::PathFileAccess, "Cannot write " + FileName);
        return true;
    });
}

} // namespace corva
