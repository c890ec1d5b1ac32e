// The SMTP dialogue where each reply answers the command that asked for it:
// the way up to a logged-in session on a secure account, and the standard
// login when a plain server refuses the login as written.
#pragma once

#include "platform/Platform.h"

#include <deque>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace corva {

// Cuts a stream into complete replies; a multi-line reply ("250-...") stays
// whole, and a piece that ends inside a reply waits for the rest.
class ReplyFramer {
public:
    std::vector<std::string> take(const std::string& data);
    void clear() { pending_.clear(); }

private:
    std::string pending_;
};

// What the session needs of the engine that owns the socket.
class SmtpLink {
public:
    virtual ~SmtpLink() = default;
    // Queues bytes; they go out at the next wait.
    virtual void send(const std::string& bytes) = 0;
    // Lets events run until done() or the seconds pass; false when it did not
    // come or the transfer was aborted meanwhile.
    virtual bool wait(const std::function<bool()>& done, int seconds) = 0;
    virtual bool aborted() const = 0;
    virtual void status(const std::string& text) = 0;
};

// The table, one row per step; every reply is taken by the step that sent
// its command, so a greeting can never pass for the answer to EHLO:
//
//   step        sends                          wants    on anything else
//   connect     (TLS first with security 1)    secured  refused certificate: ask, else fail
//   greeting    -                              220      fail with the reply
//   hello       EHLO <domain>                  250      fail
//   starttls    STARTTLS (security 2)          220      fail ("refuses STARTTLS")
//   handshake   -                              secured  fail
//   hello again EHLO <domain>                  250      fail
//   login       AUTH PLAIN, else AUTH LOGIN    235      fail ("Host Login Failed!")
//   ready       (the transfer takes over)
class SmtpSession {
public:
    struct Reply {
        int code = 0;
        std::string command; // what it answers; "" for the greeting
        std::string text;    // every line, without the last line end
    };
    struct Options {
        int account = 0;
        std::string host;
        int port = 25;
        int security = 0; // 0 plain, 1 TLS from the first byte, 2 STARTTLS
        std::string domain;
        bool login = false;
        std::string user, password;
        int timeout = 10;
        int retries = 1;
    };

    SmtpSession(platform::Socket& socket, SmtpLink& link) : socket_(socket), link_(link) {}

    // Runs the table on a new connection. False when it failed: failure()
    // says why, or is empty when the transfer was aborted from outside.
    bool open(const Options& options);
    // While open() runs, replies belong to the session.
    bool active() const { return active_; }
    const std::string& failure() const { return failure_; }
    bool loggedIn() const { return loggedIn_; }

    // The socket's events, passed on by the engine.
    void replies(const std::vector<std::string>& complete);
    void connected() { connected_ = true; }
    void closed() { closed_ = true; }
    void secured() { secured_ = true; }
    void certificateRefused() {
        certificateRefused_ = true;
        closed_ = true;
    }

    // The AUTH mechanisms an EHLO reply offers, upper case.
    static std::vector<std::string> offeredMechanisms(const std::string& ehloReply);

private:
    bool run();
    bool connect(bool secureFromStart);
    bool upgrade();
    // Sends a command (when given) and waits for its reply.
    std::optional<Reply> exchange(const std::string& command);
    // Another code fails with the server's words, put into what's "@@@" when it is given.
    bool expect(const std::optional<Reply>& reply, int code, const std::string& what);
    bool login(const std::string& ehloReply);
    bool fail(const std::string& text);
    std::string refusedCertificate() const;
    // The user may trust the certificate that was refused (true: try again).
    bool certificateTrusted();
    std::string server() const;

    platform::Socket& socket_;
    SmtpLink& link_;
    Options options_;
    bool active_ = false;
    std::string failure_;
    std::deque<std::string> asked_; // commands whose replies are still to come
    std::deque<Reply> replies_;
    bool connected_ = false, closed_ = false, secured_ = false;
    bool certificateRefused_ = false;
    bool loggedIn_ = false;
};

} // namespace corva
