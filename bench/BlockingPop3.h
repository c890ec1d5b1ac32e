// A minimal blocking POP3 client on plain POSIX sockets: the reference
// download the cycle benchmark measures Corva against.
#pragma once

#include <arpa/inet.h>
#include <cstdio>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace corva::test {

class BlockingPop3 {
public:
    BlockingPop3() = default;
    ~BlockingPop3() { close(); }
    BlockingPop3(const BlockingPop3&) = delete;
    BlockingPop3& operator=(const BlockingPop3&) = delete;

    // Connects to 127.0.0.1 and logs in; false on any refusal.
    bool open(int port, const std::string& user, const std::string& password) {
        fd_ = ::socket(AF_INET, SOCK_STREAM, 0);
        if (fd_ < 0) return false;
        int one = 1;
        ::setsockopt(fd_, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        addr.sin_port = htons(static_cast<uint16_t>(port));
        if (::connect(fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0) return false;
        return ok(line()) && ok(command("USER " + user)) && ok(command("PASS " + password));
    }

    // One command with a one-line reply.
    std::string command(const std::string& text) {
        send(text + "\r\n");
        return line();
    }

    // The message count from STAT; -1 on failure.
    int count() {
        std::string reply = command("STAT");
        if (!ok(reply)) return -1;
        return std::atoi(reply.c_str() + 4);
    }

    // A multi-line reply without its status line and dot line; false on -ERR.
    bool multi(const std::string& text, std::string& body) {
        send(text + "\r\n");
        body.clear();
        if (!ok(line())) return false;
        for (;;) {
            std::string l = line();
            if (l == "." || !connected_) return true;
            if (!l.empty() && l[0] == '.') l.erase(0, 1);
            body += l + "\r\n";
        }
    }

    // RETR n straight into a file, as received; false on failure.
    bool retrieveToFile(int n, const std::string& path) {
        std::string body;
        if (!multi("RETR " + std::to_string(n), body)) return false;
        FILE* f = std::fopen(path.c_str(), "wb");
        if (!f) return false;
        bool written = std::fwrite(body.data(), 1, body.size(), f) == body.size();
        return std::fclose(f) == 0 && written;
    }

    void quit() {
        if (fd_ >= 0 && connected_) command("QUIT");
        close();
    }

private:
    static bool ok(const std::string& reply) { return reply.rfind("+OK", 0) == 0; }

    void send(const std::string& text) {
        size_t sent = 0;
        while (sent < text.size()) {
            ssize_t n = ::send(fd_, text.data() + sent, text.size() - sent, MSG_NOSIGNAL);
            if (n <= 0) {
                connected_ = false;
                return;
            }
            sent += static_cast<size_t>(n);
        }
    }

    // One line without its CR LF, read through a buffer.
    std::string line() {
        for (;;) {
            size_t end = buffer_.find("\r\n", start_);
            if (end != std::string::npos) {
                std::string l = buffer_.substr(start_, end - start_);
                start_ = end + 2;
                return l;
            }
            buffer_.erase(0, start_);
            start_ = 0;
            char chunk[65536];
            ssize_t n = ::recv(fd_, chunk, sizeof chunk, 0);
            if (n <= 0) {
                connected_ = false;
                std::string rest = buffer_;
                buffer_.clear();
                return rest;
            }
            buffer_.append(chunk, static_cast<size_t>(n));
        }
    }

    void close() {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
    }

    int fd_ = -1;
    bool connected_ = true;
    std::string buffer_;
    size_t start_ = 0;
};

} // namespace corva::test
