#include "support/FakeServer.h"

#include "core/Strings.h"
#include "support/ServerProcess.h"

#include <cerrno>
#include <chrono>
#include <cstdio>
#include <openssl/err.h>
#include <openssl/ssl.h>
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
    listenFd_ = listenOnLoopback(port_, 1);
    if (listenFd_ < 0) throw std::runtime_error("FakeServer: cannot listen on 127.0.0.1");
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
    closeClient();
    if (listenFd_ >= 0) ::close(listenFd_);
    listenFd_ = -1;
    if (sslContext_) SSL_CTX_free(static_cast<SSL_CTX*>(sslContext_));
    sslContext_ = nullptr;
}

void FakeServer::useCertificate(const std::string& certFile, const std::string& keyFile) {
    std::lock_guard<std::mutex> lock(mutex_);
    certFile_ = certFile;
    keyFile_ = keyFile;
}

void FakeServer::closeClient() {
    if (ssl_) SSL_free(static_cast<SSL*>(ssl_));
    ssl_ = nullptr;
    if (clientFd_ >= 0) ::close(clientFd_);
    clientFd_ = -1;
}

long FakeServer::sendBytes(const char* data, size_t size) {
    if (ssl_) return SSL_write(static_cast<SSL*>(ssl_), data, static_cast<int>(size));
    return ::send(clientFd_, data, size, MSG_NOSIGNAL);
}

bool FakeServer::startTls(size_t index, bool refusal) {
    std::string cert, key;
    {
        std::lock_guard<std::mutex> lock(mutex_);
        cert = certFile_;
        key = keyFile_;
    }
    const std::string step = "step " + std::to_string(index + 1) + ": ";
    if (!sslContext_) {
        SSL_CTX* ctx = SSL_CTX_new(TLS_server_method());
        if (!ctx || SSL_CTX_use_certificate_chain_file(ctx, cert.c_str()) != 1 ||
            SSL_CTX_use_PrivateKey_file(ctx, key.c_str(), SSL_FILETYPE_PEM) != 1) {
            if (ctx) SSL_CTX_free(ctx);
            addProblem(step + "no certificate to start TLS with");
            return false;
        }
        sslContext_ = ctx;
    }
    // Whatever the client sent in the clear after the command is not TLS.
    if (!pending_.empty()) {
        addProblem(step + "client sent \"" + visible(pending_) + "\" before the handshake");
        return false;
    }
    timeval limit{5, 0};
    ::setsockopt(clientFd_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    SSL* ssl = SSL_new(static_cast<SSL_CTX*>(sslContext_));
    SSL_set_fd(ssl, clientFd_);
    const bool accepted = SSL_accept(ssl) == 1;
    if (!accepted) {
        SSL_free(ssl);
        ERR_clear_error();
        if (!refusal) addProblem(step + "TLS handshake failed");
        return refusal;
    }
    ssl_ = ssl;
    if (!refusal) return true;
    // A client may check the certificate once the handshake is done: then it
    // must hang up without a word.
    while (readSome(SliceMs * 5)) {
    }
    ERR_clear_error();
    if (!pending_.empty()) {
        addProblem(step + "the client took the certificate and sent \"" + visible(pending_) + "\"");
        return false;
    }
    return true;
}

bool FakeServer::nextConnection(size_t index) {
    while (readSome(SliceMs * 5)) {
    }
    if (!pending_.empty())
        addProblem("step " + std::to_string(index + 1) + ": client sent \"" + visible(pending_) +
                   "\" before it closed");
    pending_.clear();
    closeClient();
    return acceptClient();
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
            long n = sendBytes(step.bytes.data() + sent, step.bytes.size() - sent);
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
        closeClient();
        return true;
    case ScriptStep::Kind::Silence:
        return true;
    case ScriptStep::Kind::Tls:
        return startTls(index, step.bytes == "refused");
    case ScriptStep::Kind::NextConnection:
        return nextConnection(index);
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
        if (clientFd_ < 0) return false;
        pollfd p{clientFd_, POLLIN, 0};
        SSL* ssl = static_cast<SSL*>(ssl_);
        int r = ssl && SSL_pending(ssl) > 0
                    ? 1
                    : ::poll(&p, 1, std::min(SliceMs, std::max(msLeft(deadline), 0)));
        if (r > 0) {
            char buf[65536];
            long n = ssl ? SSL_read(ssl, buf, sizeof buf) : ::recv(clientFd_, buf, sizeof buf, 0);
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
