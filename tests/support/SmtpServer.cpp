#include "support/SmtpServer.h"

#include "support/TempDir.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

extern char** environ;

namespace corva::test {

namespace {

// Reads one line from the child's output within the time given.
std::string readLine(int fd, int ms) {
    std::string line;
    auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(ms);
    while (std::chrono::steady_clock::now() < end) {
        pollfd p{fd, POLLIN, 0};
        if (::poll(&p, 1, 50) <= 0) continue;
        char c;
        if (::read(fd, &c, 1) != 1) break;
        if (c == '\n') return line;
        line += c;
    }
    return line;
}

} // namespace

SmtpServer::SmtpServer(const std::string& user, const std::string& password) {
    std::vector<std::string> extra;
    if (!user.empty()) extra = {"--user", user, "--password", password};
    start(extra);
}

SmtpServer::SmtpServer(const std::string& user, const std::string& password, const std::string& tls,
                       const std::string& certificate, const std::string& key) {
    std::vector<std::string> extra = {"--tls", tls, "--cert", certificate, "--key", key};
    if (!user.empty()) extra.insert(extra.end(), {"--user", user, "--password", password});
    start(extra);
}

void SmtpServer::start(std::vector<std::string> extra) {
    char pattern[] = "/tmp/corva-smtp-XXXXXX";
    if (!::mkdtemp(pattern)) return;
    folder_ = pattern;

    // Found from the data folder's absolute path: a compiler cache may leave
    // __FILE__ relative to a build folder the tests don't run in.
    std::string script =
        (std::filesystem::path(CORVA_TEST_DATA).parent_path() / "support" / "smtp_server.py")
            .string();
    std::vector<std::string> args = {"/usr/bin/python3", script, "--folder", folder_};
    args.insert(args.end(), extra.begin(), extra.end());
    std::vector<char*> argv;
    argv.reserve(args.size() + 1);
    for (auto& a : args) argv.push_back(a.data());
    argv.push_back(nullptr);

    int in[2], out[2];
    if (::pipe2(in, O_CLOEXEC) != 0) return;
    if (::pipe2(out, O_CLOEXEC) != 0) return;
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, in[0], 0);
    posix_spawn_file_actions_adddup2(&actions, out[1], 1);
    pid_t pid = -1;
    int rc = posix_spawn(&pid, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    ::close(in[0]);
    ::close(out[1]);
    stdinFd_ = in[1];
    if (rc != 0) {
        ::close(out[0]);
        return;
    }
    pid_ = pid;
    std::string line = readLine(out[0], 10000);
    ::close(out[0]);
    if (line.rfind("PORT ", 0) == 0) port_ = std::atoi(line.c_str() + 5);
}

SmtpServer::~SmtpServer() {
    if (stdinFd_ >= 0) ::close(stdinFd_);
    if (pid_ > 0) {
        // Closing its input stops it; a server that hangs is ended after a grace time.
        int status = 0;
        bool gone = false;
        for (int i = 0; i < 100 && !gone; ++i) {
            if (::waitpid(pid_, &status, WNOHANG) == pid_)
                gone = true;
            else
                std::this_thread::sleep_for(std::chrono::milliseconds(20));
        }
        if (!gone) {
            ::kill(pid_, SIGKILL);
            ::waitpid(pid_, &status, 0);
        }
    }
    if (!folder_.empty()) {
        std::error_code ec;
        std::filesystem::remove_all(folder_, ec);
    }
}

int SmtpServer::connectionCount() const {
    int n = 0;
    while (std::filesystem::exists(folder_ + "/conn-" + std::to_string(n + 1) + ".in")) ++n;
    return n;
}

std::string SmtpServer::received(int connection) const {
    return readFile(folder_ + "/conn-" + std::to_string(connection) + ".in");
}

std::string SmtpServer::answered(int connection) const {
    return readFile(folder_ + "/conn-" + std::to_string(connection) + ".out");
}

int SmtpServer::messageCount() const {
    int n = 0;
    while (std::filesystem::exists(folder_ + "/msg-" + std::to_string(n + 1) + ".env")) ++n;
    return n;
}

std::string SmtpServer::message(int n) const {
    return readFile(folder_ + "/msg-" + std::to_string(n) + ".eml");
}

std::string SmtpServer::envelope(int n) const {
    return readFile(folder_ + "/msg-" + std::to_string(n) + ".env");
}

std::string SmtpServer::authLog() const {
    return readFile(folder_ + "/auth.log");
}

} // namespace corva::test
