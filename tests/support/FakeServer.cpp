#include "support/FakeServer.h"

#include "core/Strings.h"

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <netinet/in.h>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <unistd.h>

namespace corva::test {

namespace {

// Short slices keep the thread responsive to stop() without a wake-up pipe.
constexpr int SliceMs = 20;

using Clock = std::chrono::steady_clock;

int msLeft(Clock::time_point deadline) {
    auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

} // namespace

std::string visible(const std::string& bytes) {
    return EscapeBytes(bytes);
}

FakeServer::FakeServer(std::vector<ScriptStep> script) : script_(std::move(script)) {
    listenFd_ = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (listenFd_ < 0) throw std::runtime_error("FakeServer: socket failed");
    int one = 1;
    ::setsockopt(listenFd_, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    sockaddr_in addr{};
    addr.sin_family = AF_INET;
    addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    addr.sin_port = 0;
    if (::bind(listenFd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0 ||
        ::listen(listenFd_, 1) != 0) {
        ::close(listenFd_);
        throw std::runtime_error("FakeServer: cannot listen on 127.0.0.1");
    }
    socklen_t len = sizeof addr;
    ::getsockname(listenFd_, reinterpret_cast<sockaddr*>(&addr), &len);
    port_ = ntohs(addr.sin_port);
    thread_ = std::thread([this] { run(); });
}

FakeServer::~FakeServer() {
    stop();
}

std::string FakeServer::address() const {
    return "127.0.0.1:" + std::to_string(port_);
}

std::string FakeServer::received() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return received_;
}

std::string FakeServer::problems() const {
    std::lock_guard<std::mutex> lock(mutex_);
    return problems_;
}

bool FakeServer::waitClosed(int ms) {
    std::unique_lock<std::mutex> lock(mutex_);
    return closedCv_.wait_for(lock, std::chrono::milliseconds(ms),
                              [this] { return closed_.load(); });
}

void FakeServer::stop() {
    stopping_ = true;
    if (thread_.joinable()) thread_.join();
    if (clientFd_ >= 0) ::close(clientFd_);
    if (listenFd_ >= 0) ::close(listenFd_);
    clientFd_ = listenFd_ = -1;
}

void FakeServer::addProblem(const std::string& text) {
    std::lock_guard<std::mutex> lock(mutex_);
    problems_ += text + "\n";
}

void FakeServer::run() {
    if (!acceptClient()) return;
    bool silent = false;
    for (size_t i = 0; i < script_.size() && !stopping_; ++i) {
        if (script_[i].kind == ScriptStep::Kind::Silence) {
            silent = true;
            break;
        }
        if (!runStep(script_[i], i)) {
            // A mismatch ends the session: going on would only report its consequences.
            ::shutdown(clientFd_, SHUT_RDWR);
            break;
        }
        if (script_[i].kind == ScriptStep::Kind::Drop) break;
    }
    done_ = true;
    drainUntilClosed(!silent);
}

bool FakeServer::acceptClient() {
    while (!stopping_) {
        pollfd p{listenFd_, POLLIN, 0};
        if (::poll(&p, 1, SliceMs) > 0) {
            clientFd_ = ::accept4(listenFd_, nullptr, nullptr, SOCK_CLOEXEC);
            if (clientFd_ >= 0) return true;
        }
    }
    return false;
}

bool FakeServer::runStep(const ScriptStep& step, size_t index) {
    switch (step.kind) {
    case ScriptStep::Kind::Say: {
        size_t sent = 0;
        while (sent < step.bytes.size()) {
            ssize_t n =
                ::send(clientFd_, step.bytes.data() + sent, step.bytes.size() - sent, MSG_NOSIGNAL);
            if (n <= 0) {
                addProblem("step " + std::to_string(index + 1) + ": client gone before Say(\"" +
                           visible(step.bytes) + "\")");
                return false;
            }
            sent += static_cast<size_t>(n);
        }
        return true;
    }
    case ScriptStep::Kind::Expect:
        return expect(step.bytes, index);
    case ScriptStep::Kind::Skip: {
        auto deadline = Clock::now() + std::chrono::milliseconds(expectTimeoutMs_);
        for (size_t at; (at = pending_.find(step.bytes)) == std::string::npos;)
            if (stopping_ || msLeft(deadline) == 0 || !readSome(msLeft(deadline))) {
                addProblem("step " + std::to_string(index + 1) + ": \"" + visible(step.bytes) +
                           "\" never came");
                return false;
            }
        pending_.erase(0, pending_.find(step.bytes) + step.bytes.size());
        return true;
    }
    case ScriptStep::Kind::Pause: {
        auto deadline = Clock::now() + std::chrono::milliseconds(step.ms);
        while (!stopping_ && msLeft(deadline) > 0)
            std::this_thread::sleep_for(
                std::chrono::milliseconds(std::min(SliceMs, msLeft(deadline))));
        return true;
    }
    case ScriptStep::Kind::Drop:
        ::shutdown(clientFd_, SHUT_RDWR);
        ::close(clientFd_);
        clientFd_ = -1;
        return true;
    case ScriptStep::Kind::Silence:
        return true;
    }
    return true;
}

bool FakeServer::expect(const std::string& want, size_t index) {
    auto deadline = Clock::now() + std::chrono::milliseconds(expectTimeoutMs_);
    auto step = "step " + std::to_string(index + 1) + ": expected \"" + visible(want) + "\", ";
    for (;;) {
        size_t common = 0;
        while (common < pending_.size() && common < want.size() && pending_[common] == want[common])
            ++common;
        if (common == want.size()) {
            pending_.erase(0, want.size());
            return true;
        }
        if (common < pending_.size()) {
            // Differs: gather the rest of the client's line so the report shows all of it.
            auto lineEnd = Clock::now() + std::chrono::milliseconds(200);
            while (pending_.find('\n', common) == std::string::npos && msLeft(lineEnd) > 0 &&
                   readSome(msLeft(lineEnd))) {
            }
            addProblem(step + "got \"" + visible(pending_) + "\"");
            return false;
        }
        if (stopping_ || msLeft(deadline) == 0) {
            addProblem(step + "got \"" + visible(pending_) + "\" and then nothing");
            return false;
        }
        if (!readSome(msLeft(deadline))) {
            addProblem(step + "got \"" + visible(pending_) + "\" and then the client closed");
            return false;
        }
    }
}

bool FakeServer::readSome(int ms) {
    auto deadline = Clock::now() + std::chrono::milliseconds(ms);
    while (!stopping_) {
        pollfd p{clientFd_, POLLIN, 0};
        int r = ::poll(&p, 1, std::min(SliceMs, std::max(msLeft(deadline), 0)));
        if (r > 0) {
            char buf[65536];
            ssize_t n = ::recv(clientFd_, buf, sizeof buf, 0);
            if (n <= 0) return false;
            pending_.append(buf, static_cast<size_t>(n));
            std::lock_guard<std::mutex> lock(mutex_);
            received_.append(buf, static_cast<size_t>(n));
            return true;
        }
        if (r < 0 && errno != EINTR) return false;
        if (msLeft(deadline) == 0) return true;
    }
    return true;
}

void FakeServer::drainUntilClosed(bool reportExtra) {
    if (clientFd_ >= 0) {
        while (!stopping_) {
            size_t before = pending_.size();
            bool open = readSome(SliceMs * 5);
            if (reportExtra && pending_.size() > before)
                addProblem("after the script: client sent \"" + visible(pending_.substr(before)) +
                           "\"");
            if (!open) break;
        }
    }
    {
        std::lock_guard<std::mutex> lock(mutex_);
        closed_ = true;
    }
    closedCv_.notify_all();
}

} // namespace corva::test
