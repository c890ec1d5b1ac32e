// A private Exim server (Debian's exim4-daemon-light) for tests: its own
// configuration, spool and logs in a temporary folder, on 127.0.0.1 and a
// free port, stopped and removed with the object. It requires STARTTLS with
// the certificate given before any mail, offers AUTH PLAIN and LOGIN only
// then, for one fixed user, and keeps what it accepts in its queue.
#pragma once

#include <string>
#include <sys/types.h>

namespace corva::test {

class EximServer {
public:
    // The binary the fixture runs; tests skip themselves when it is missing.
    static bool available();

    // Starts the server and waits until it greets; running() says whether it did.
    EximServer(const std::string& user, const std::string& password, const std::string& certificate,
               const std::string& key);
    ~EximServer();
    EximServer(const EximServer&) = delete;
    EximServer& operator=(const EximServer&) = delete;

    int port() const { return port_; }
    bool running() const { return pid_ > 0; }

    // Messages accepted so far, and message n (1-based, in the order they
    // came) as Exim keeps it: its header file (each header behind its length),
    // then the body.
    int messageCount() const;
    std::string message(int n) const;
    // The main log: one "<=" line per message accepted, with "A=plain:user"
    // or "A=login:user", and a line for every refused login.
    std::string log() const;

private:
    void writeConfig(const std::string& user, const std::string& password,
                     const std::string& certificate, const std::string& key);
    void stop();

    std::string root_;
    int port_ = 0;
    pid_t pid_ = -1;
};

} // namespace corva::test
