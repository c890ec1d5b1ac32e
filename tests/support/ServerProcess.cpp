#include "support/ServerProcess.h"

#include <arpa/inet.h>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace corva::test {

namespace {
sockaddr_in loopback(int port) {
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = htons(static_cast<uint16_t>(port));
    return addr;
}
} // namespace

int listenOnLoopback(int& port, int backlog) {
    int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    int one = 1;
    sockaddr_in addr = loopback(0);
    socklen_t len = sizeof addr;
    if (fd < 0 || ::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one) != 0 ||
        ::bind(fd, reinterpret_cast<sockaddr*>(&addr), len) != 0 || ::listen(fd, backlog) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr*>(&addr), &len) != 0) {
        if (fd >= 0) ::close(fd);
        return -1;
    }
    port = ntohs(addr.sin_port);
    return fd;
}

int connectToLoopback(int port) {
    int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in addr = loopback(port);
    if (fd >= 0 && ::connect(fd, reinterpret_cast<sockaddr*>(&addr), sizeof addr) == 0) return fd;
    if (fd >= 0) ::close(fd);
    return -1;
}

int freeLoopbackPort() {
    int port = 0;
    int fd = listenOnLoopback(port, 1);
    if (fd >= 0) ::close(fd);
    return port;
}

std::string firstReply(int port) {
    int fd = connectToLoopback(port);
    if (fd < 0) return "";
    std::string reply;
    pollfd p{fd, POLLIN, 0};
    if (::poll(&p, 1, 2000) > 0) {
        char buf[256];
        ssize_t n = ::recv(fd, buf, sizeof buf, 0);
        if (n > 0) reply.assign(buf, static_cast<size_t>(n));
    }
    ::close(fd);
    return reply;
}

bool waitForGreeting(pid_t pid, int port, const std::string& prefix) {
    auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < deadline) {
        if (::waitpid(pid, nullptr, WNOHANG) == pid) return false;
        if (firstReply(port).rfind(prefix, 0) == 0) return true;
        std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    return false;
}

pid_t startServerProcess(const std::string& binary, const std::vector<std::string>& args,
                         const std::string& errorsPath) {
    // Everything the child needs is made before the fork: it may only exec.
    std::vector<char*> argv;
    for (const std::string& arg : args) argv.push_back(const_cast<char*>(arg.c_str()));
    argv.push_back(nullptr);
    pid_t pid = ::fork();
    if (pid == 0) {
        ::setpgid(0, 0);
        // A test run that dies must not leave a server behind.
        ::prctl(PR_SET_PDEATHSIG, SIGTERM);
        int out = ::open(errorsPath.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0644);
        if (out >= 0) {
            ::dup2(out, 1);
            ::dup2(out, 2);
        }
        ::execv(binary.c_str(), argv.data());
        ::_exit(127);
    }
    if (pid > 0) ::setpgid(pid, pid);
    return pid;
}

void stopServerProcess(pid_t pid) {
    if (pid <= 0) return;
    ::kill(-pid, SIGTERM);
    bool gone = false;
    for (int i = 0; i < 100 && !gone; ++i) {
        // Already reaped (it exited while being waited for) counts as gone.
        const pid_t reaped = ::waitpid(pid, nullptr, WNOHANG);
        gone = reaped == pid || reaped < 0;
        if (!gone) std::this_thread::sleep_for(std::chrono::milliseconds(50));
    }
    // Whatever of the group is left (or the server itself, if it hung).
    ::kill(-pid, SIGKILL);
    if (!gone) ::waitpid(pid, nullptr, 0);
}

} // namespace corva::test
