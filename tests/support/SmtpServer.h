// A real SMTP server (aiosmtpd, through tests/support/smtp_server.py) on
// 127.0.0.1 and a free port, recording every byte each client sends. It is
// started by the constructor and stopped by the destructor.
#pragma once

#include <string>
#include <vector>

namespace corva::test {

class SmtpServer {
public:
    // With a user, AUTH LOGIN is offered with the challenges "Username:" and
    // "Password:" and only that login is accepted.
    explicit SmtpServer(const std::string& user = "", const std::string& password = "");
    // With TLS: "implicit" from the first byte, or "starttls", which the server
    // then requires before anything else. certificate and key are PEM files.
    // Over implicit TLS the recordings hold the plain text; after STARTTLS only
    // what came before it is readable.
    SmtpServer(const std::string& user, const std::string& password, const std::string& tls,
               const std::string& certificate, const std::string& key);
    ~SmtpServer();
    SmtpServer(const SmtpServer&) = delete;
    SmtpServer& operator=(const SmtpServer&) = delete;

    // 0 when the server could not be started.
    int port() const { return port_; }
    bool running() const { return port_ > 0; }

    // Connections made so far, counted from the recordings.
    int connectionCount() const;
    // What the client sent on connection n (1-based), and what the server answered.
    std::string received(int connection) const;
    std::string answered(int connection) const;
    // Messages delivered so far, and message n's content (after the server
    // removed the dot-stuffing) and envelope ("from\nrcpt\n...").
    int messageCount() const;
    std::string message(int n) const;
    std::string envelope(int n) const;
    // auth.log: one line per login attempt.
    std::string authLog() const;

private:
    void start(std::vector<std::string> extra);
    std::string folder_;
    int port_ = 0;
    int pid_ = -1;
    int stdinFd_ = -1;
};

} // namespace corva::test
