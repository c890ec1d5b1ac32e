// A POP3 proxy between the client and a real server that breaks the first
// session at one command in a chosen way, and passes every later session
// through untouched, so a test can break a fetch and then recover from it.
#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace corva::test {

class Pop3Proxy {
public:
    enum class Fault {
        None,
        Drop,      // close both connections instead of passing the command on
        Silence,   // pass nothing more either way; the connection stays open
        Refuse,    // answer "-ERR" in the server's place
        LoseReply, // pass the command on, never the reply, then close
    };

    // The fault strikes at the nth command that starts with command ("RETR").
    Pop3Proxy(int serverPort, Fault fault, std::string command, int nth = 1);
    ~Pop3Proxy();
    Pop3Proxy(const Pop3Proxy&) = delete;
    Pop3Proxy& operator=(const Pop3Proxy&) = delete;

    // "127.0.0.1:<port>", the form a server setting takes.
    std::string address() const;
    // The commands each session sent, in order, without their line ends.
    std::vector<std::vector<std::string>> sessions() const;

private:
    void run();
    void serve(int client);
    // Handles one command line of the client; false ends the session.
    bool command(const std::string& line, int client, int server, bool& silent, bool& losing);

    int serverPort_;
    Fault fault_;
    std::string command_;
    int nth_;
    int seen_ = 0;
    bool struck_ = false;
    int listenFd_ = -1;
    int port_ = 0;
    std::atomic<bool> stopping_{false};
    mutable std::mutex mutex_;
    std::vector<std::vector<std::string>> sessions_;
    std::thread thread_;
};

} // namespace corva::test
