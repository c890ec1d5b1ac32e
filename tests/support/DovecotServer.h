// A private Dovecot POP3 server for tests and benchmarks: its own config,
// users and maildirs in a temporary folder, listening on 127.0.0.1 on a free
// port, stopped and removed with the object. Mail is written straight into
// the maildirs, so filling a mailbox of thousands of messages is quick.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace corva::test {

class DovecotServer {
public:
    // The binary the fixture runs; tests skip themselves when it is missing.
    static bool available();

    // Starts the server and waits until it greets; throws std::runtime_error on failure.
    // With a certificate (PEM chain and key files) TLS is required: STLS on
    // port(), TLS from the first byte on securePort().
    explicit DovecotServer(const std::string& certificate = "", const std::string& key = "");
    ~DovecotServer();
    DovecotServer(const DovecotServer&) = delete;
    DovecotServer& operator=(const DovecotServer&) = delete;

    int port() const { return port_; }
    int securePort() const { return securePort_; }
    // "127.0.0.1:<port>", the form a server setting takes.
    std::string address() const;

    // Adds a login with an empty mailbox; it works at once. A changed password
    // may take the server a second to see.
    void addUser(const std::string& name, const std::string& password);
    // Delivers one message; bare LF line ends become CR LF, so the sizes the
    // server lists are the file sizes. Messages list in the order they were added.
    // Deliver before connecting: a session open meanwhile may see half a file.
    void addMessage(const std::string& user, const std::string& text);
    // Messages in the user's mailbox now, counted from the maildir.
    int messageCount(const std::string& user) const;
    // The Subject of each message in the mailbox now, in the order they list.
    std::vector<std::string> subjects(const std::string& user) const;
    // Removes every message of a user (between tests that share the server).
    void clearMailbox(const std::string& user);

    // Stops the server's process group and removes the folder; safe to call twice.
    void stop();
    // The server's own log, for a test's failure message.
    std::string log() const;

private:
    std::string maildir(const std::string& user) const;
    void writeConfig();

    std::string root_;
    int port_ = 0;
    int securePort_ = 0;
    std::string certificate_, key_;
    pid_t pid_ = -1;
    uid_t mailUid_ = 0;
    gid_t mailGid_ = 0;
    long sequence_ = 0;
};

} // namespace corva::test
