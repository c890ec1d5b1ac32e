#include "smtp/SmtpSession.h"

#include "core/Account.h"
#include "core/ErrorHandler.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "localise/modLanguages.h"
#include "smtp/MailComposer.h"
#include "smtp/SmtpFailures.h"

#include <algorithm>

namespace corva {

namespace {

constexpr const char* CRLF = "\r\n";

// A credential or challenge answer on one line of its own.
std::string oneLine(const std::string& bytes) {
    return Replace(MailComposer::encodebase64byte(bytes), CRLF, "");
}

} // namespace

std::vector<std::string> ReplyFramer::take(const std::string& data) {
    pending_ += data;
    std::vector<std::string> complete;
    size_t start = 0;
    for (size_t pos = 0;;) {
        size_t eol = pending_.find('\n', pos);
        if (eol == std::string::npos) break;
        bool more = eol - pos >= 4 && pending_[pos + 3] == '-';
        pos = eol + 1;
        if (!more) {
            complete.push_back(pending_.substr(start, pos - start));
            start = pos;
        }
    }
    pending_.erase(0, start);
    return complete;
}

void SmtpSession::replies(const std::vector<std::string>& complete) {
    for (const std::string& whole : complete) {
        Reply reply;
        reply.code = static_cast<int>(Val(Left(whole, 3)));
        if (!asked_.empty()) {
            reply.command = asked_.front();
            asked_.pop_front();
        }
        reply.text = EndsWith(whole, CRLF) ? whole.substr(0, whole.size() - 2) : whole;
        replies_.push_back(std::move(reply));
    }
}

std::string SmtpSession::server() const {
    return options_.host + ":" + Str(options_.port);
}

bool SmtpSession::open(const Options& options) {
    options_ = options;
    failure_.clear();
    loggedIn_ = false;
    active_ = true;
    bool ok = guardedValue("SmtpSession.open", "clsSendmail", false, [&] { return run(); });
    if (!ok && failure_.empty() && !link_.aborted()) failure_ = SmtpTimeoutText;
    active_ = false;
    replies_.clear();
    asked_.clear();
    return ok;
}

bool SmtpSession::run() {
    for (int attempt = 0;; ++attempt) {
        if (connect(options_.security == 1)) break;
        if (certificateRefused_ && attempt == 0 && certificateTrusted()) continue;
        if (certificateRefused_) return fail(refusedCertificate());
        if (link_.aborted()) return false;
        return fail(closed_ ? SmtpClosedText : SmtpTimeoutText);
    }
    link_.status(gettranslation("Initialising Communications..."));
    asked_.push_back(""); // the greeting answers the connection
    std::optional<Reply> r = exchange("");
    if (!expect(r, 220, "")) return false;
    r = exchange("EHLO " + options_.domain);
    if (!expect(r, 250, "")) return false;
    if (options_.security == 2 && !socket_.isSecure()) {
        if (InStrNoCase(r->text, "STARTTLS") == 0) return fail(NoStartTlsText);
        r = exchange("STARTTLS");
        if (!expect(r, 220, StartTlsRefusedForm)) return false;
        if (!upgrade()) {
            // Trusted just now: the handshake can only succeed on a new connection.
            if (certificateRefused_ && certificateTrusted()) return run();
            return fail(certificateRefused_ ? refusedCertificate() : std::string(SecureFailedText));
        }
        r = exchange("EHLO " + options_.domain);
        if (!expect(r, 250, "")) return false;
    }
    return !options_.login || login(r->text);
}

bool SmtpSession::connect(bool secureFromStart) {
    replies_.clear();
    asked_.clear();
    connected_ = secured_ = certificateRefused_ = false;
    link_.status(gettranslation("Connecting to Server..."));
    const std::string trusted = Account(options_.account).trustedCertificate("SMTP");
    socket_.setTrustedFingerprints(trusted.empty() ? std::vector<std::string>{}
                                                   : std::vector<std::string>{trusted});
    for (int attempt = 0; attempt < options_.retries; ++attempt) {
        if (socket_.state() != platform::SocketState::Closed) socket_.close();
        closed_ = false;
        if (secureFromStart)
            socket_.connectSecure(options_.host, options_.port, options_.host);
        else
            socket_.connect(options_.host, options_.port);
        link_.wait([&] { return connected_ || closed_; }, options_.timeout);
        if (connected_) return true;
        if (link_.aborted() || certificateRefused_) break;
    }
    return false;
}

bool SmtpSession::upgrade() {
    secured_ = certificateRefused_ = false;
    socket_.startSecure(options_.host);
    link_.wait([&] { return secured_ || closed_; }, options_.timeout);
    return secured_;
}

std::optional<SmtpSession::Reply> SmtpSession::exchange(const std::string& command) {
    if (!command.empty()) {
        asked_.push_back(command);
        link_.send(command + CRLF);
    }
    link_.wait([&] { return !replies_.empty() || closed_; }, options_.timeout);
    if (replies_.empty()) return std::nullopt;
    Reply reply = std::move(replies_.front());
    replies_.pop_front();
    return reply;
}

bool SmtpSession::expect(const std::optional<Reply>& reply, int code, const std::string& what) {
    if (reply && reply->code == code) return true;
    if (!reply) return fail(closed_ ? SmtpClosedText : SmtpTimeoutText);
    std::string text = Trim(Mid(reply->text, 5));
    return fail(what.empty() ? text : FilledIn(what, {text}));
}

bool SmtpSession::fail(const std::string& text) {
    failure_ = text;
    return false;
}

std::vector<std::string> SmtpSession::offeredMechanisms(const std::string& ehloReply) {
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
bool SmtpSession::login(const std::string& ehloReply) {
    const std::vector<std::string> offered = offeredMechanisms(ehloReply);
    auto offers = [&](const char* m) {
        return std::find(offered.begin(), offered.end(), m) != offered.end();
    };
    std::optional<Reply> r;
    if (offers("PLAIN")) {
        link_.status(gettranslation("Sending Login Authentication..."));
        const std::string nul(1, '\0');
        r = exchange("AUTH PLAIN " + oneLine(nul + options_.user + nul + options_.password));
    } else if (offers("LOGIN")) {
        link_.status(gettranslation("Sending Login Authentication..."));
        r = exchange("AUTH LOGIN");
        if (r && r->code == 334) r = exchange(oneLine(options_.user));
        if (r && r->code == 334) r = exchange(oneLine(options_.password));
    } else {
        link_.status(gettranslation("Login Not Supported by Host, Continuing..."));
        return true;
    }
    if (r && r->code == 235) {
        loggedIn_ = true;
        link_.status(gettranslation("Host Login OK!"));
        return true;
    }
    link_.status(gettranslation("Host Login Failed!"));
    return fail(r ? FilledIn(LoginRefusedForm, {Trim(Mid(r->text, 5))})
                  : std::string(LoginUnansweredText));
}

std::string SmtpSession::refusedCertificate() const {
    const platform::CertificateInfo c = socket_.peerCertificate();
    if (!Account(options_.account).trustedCertificate("SMTP").empty())
        return FilledIn(CertificateChangedForm, {server()}) + "\n" +
               platform::describeCertificate(c);
    return FilledIn(CertificateRefusedForm, {server()}) + "\n" + platform::describeCertificate(c) +
           "\n" + FilledIn(TrustHintForm, {Str(options_.account)});
}

bool SmtpSession::certificateTrusted() {
    const platform::CertificateInfo c = socket_.peerCertificate();
    const Account settings(options_.account);
    if (c.empty() || !settings.trustedCertificate("SMTP").empty()) return false;
    if (!platform::current().prompts().trustCertificate(server(), c)) return false;
    settings.setTrustedCertificate("SMTP", c.fingerprint);
    savesettings();
    LogAction("Certificate " + c.fingerprint + " trusted for " + server());
    return true;
}

} // namespace corva
