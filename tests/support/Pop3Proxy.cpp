#include "support/Pop3Proxy.h"

#include "support/ServerProcess.h"

#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace corva::test {

namespace {

bool writeAll(int fd, const std::string& bytes) {
    for (size_t done = 0; done < bytes.size();) {
        ssize_t n = ::send(fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (n <= 0) return false;
        done += static_cast<size_t>(n);
    }
    return true;
}

} // namespace

Pop3Proxy::Pop3Proxy(int serverPort, Fault fault, std::string command, int nth)
    : serverPort_(serverPort), fault_(fault), command_(std::move(command)), nth_(nth) {
    listenFd_ = listenOnLoopback(port_);
    if (listenFd_ < 0) throw std::runtime_error("proxy: cannot listen");
    thread_ = std::thread([this] { run(); });
}

Pop3Proxy::~Pop3Proxy() {
    stopping_ = true;
    if (thread_.joinable()) thread_.join();
    ::close(listenFd_);
}

std::string Pop3Proxy::address() const {
    return "127.0.0.1:" + std::to_string(port_);
}

std::vector<std::vector<std::string>> Pop3Proxy::sessions() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return sessions_;
}

void Pop3Proxy::run() {
    while (!stopping_) {
        pollfd p{listenFd_, POLLIN, 0};
        if (::poll(&p, 1, 50) <= 0) continue;
        int client = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0) continue;
        serve(client);
        ::close(client);
    }
}

void Pop3Proxy::serve(int client) {
    int server = connectToLoopback(serverPort_);
    if (server < 0) return;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        sessions_.emplace_back();
    }
    bool silent = false, losing = false, open = true;
    std::string pending;
    while (open && !stopping_) {
        pollfd fds[2] = {{client, POLLIN, 0}, {server, POLLIN, 0}};
        if (::poll(fds, 2, 50) <= 0) continue;
        char buf[65536];
        if (fds[0].revents & (POLLIN | POLLHUP | POLLERR)) {
            ssize_t n = ::read(client, buf, sizeof buf);
            if (n <= 0) break;
            pending.append(buf, static_cast<size_t>(n));
            for (size_t eol; open && (eol = pending.find("\r\n")) != std::string::npos;) {
                std::string line = pending.substr(0, eol + 2);
                pending.erase(0, eol + 2);
                open = command(line, client, server, silent, losing);
            }
        }
        if (open && (fds[1].revents & (POLLIN | POLLHUP | POLLERR))) {
            ssize_t n = ::read(server, buf, sizeof buf);
            if (n <= 0) break;
            if (!silent && !losing)
                open = writeAll(client, std::string(buf, static_cast<size_t>(n)));
        }
    }
    ::close(server);
}

bool Pop3Proxy::command(const std::string& line, int client, int server, bool& silent,
                        bool& losing) {
    bool firstSession;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        sessions_.back().push_back(line.substr(0, line.size() - 2));
        firstSession = sessions_.size() == 1;
    }
    if (silent) return true;
    if (firstSession && !struck_ && fault_ != Fault::None && line.rfind(command_, 0) == 0 &&
        ++seen_ == nth_) {
        struck_ = true;
        switch (fault_) {
        case Fault::Drop:
            return false;
        case Fault::Silence:
            silent = true;
            return true;
        case Fault::Refuse:
            return writeAll(client, "-ERR injected fault\r\n");
        case Fault::LoseReply:
            losing = true;
            break;
        case Fault::None:
            break;
        }
    }
    return writeAll(server, line);
}

} // namespace corva::test
