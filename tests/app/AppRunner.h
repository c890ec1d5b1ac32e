// Runs the corva executable in a child process, as a user runs it from a
// shell, and gathers what it prints.
#pragma once

#include <cerrno>
#include <cstdio>
#include <functional>
#include <poll.h>
#include <pty.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace corva::test {

struct Outcome {
    int status = -1;
    std::string out;
    std::string err;
};

// Runs corva with args, input on stdin and env ("NAME=VALUE") added, and
// gathers both outputs to the end; stderr on a terminal of its own if asked.
// watch sees the child and its stderr so far after each read, to signal it.
inline Outcome corva(const std::vector<std::string>& args, const std::vector<std::string>& env = {},
                     const std::string& input = "", bool stderrOnTerminal = false,
                     const std::function<void(pid_t, const std::string&)>& watch = {}) {
    int outPipe[2], errPipe[2], inPipe[2];
    if (::pipe(outPipe) != 0 || ::pipe(inPipe) != 0) return {};
    if (stderrOnTerminal ? ::openpty(&errPipe[0], &errPipe[1], nullptr, nullptr, nullptr) != 0
                         : ::pipe(errPipe) != 0)
        return {};
    pid_t pid = ::fork();
    if (pid == 0) {
        ::dup2(outPipe[1], 1);
        ::dup2(errPipe[1], 2);
        ::dup2(inPipe[0], 0);
        ::close(inPipe[1]);
        ::close(outPipe[0]);
        ::close(errPipe[0]);
        for (const std::string& e : env) ::putenv(const_cast<char*>(e.c_str()));
        std::vector<char*> argv{const_cast<char*>(CORVA_EXE)};
        for (const std::string& a : args) argv.push_back(const_cast<char*>(a.c_str()));
        argv.push_back(nullptr);
        ::execv(CORVA_EXE, argv.data());
        ::_exit(127);
    }
    ::close(outPipe[1]);
    ::close(errPipe[1]);
    ::close(inPipe[0]);
    if (!input.empty()) (void)!::write(inPipe[1], input.data(), input.size());
    ::close(inPipe[1]);
    Outcome result;
    pollfd fds[2] = {{outPipe[0], POLLIN, 0}, {errPipe[0], POLLIN, 0}};
    std::string* sinks[2] = {&result.out, &result.err};
    int open = 2;
    while (open > 0) {
        if (::poll(fds, 2, 60000) <= 0) break;
        for (int i = 0; i < 2; ++i) {
            if (fds[i].fd < 0 || !(fds[i].revents & (POLLIN | POLLHUP))) continue;
            char buf[4096];
            ssize_t n = ::read(fds[i].fd, buf, sizeof buf);
            if (n > 0) {
                sinks[i]->append(buf, static_cast<size_t>(n));
                if (watch && i == 1) watch(pid, result.err);
            } else if (n == 0 || errno != EINTR) {
                ::close(fds[i].fd);
                fds[i].fd = -1;
                --open;
            }
        }
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

// Runs a shell command line (its words need no quoting, or are quoted) and
// gathers standard output, and standard error with it when asked.
inline Outcome runShell(const std::string& command, bool withErrors = false) {
    Outcome result;
    FILE* pipe = ::popen((command + (withErrors ? " 2>&1" : " 2>/dev/null")).c_str(), "r");
    if (!pipe) return result;
    char buffer[4096];
    for (size_t n; (n = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;)
        result.out.append(buffer, n);
    const int status = ::pclose(pipe);
    result.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return result;
}

} // namespace corva::test
