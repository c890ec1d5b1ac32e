// A scripted server for any line protocol: it says and expects bytes in the
// order a test writes them, so the test reads like the dialogue it pins. It
// serves one connection on 127.0.0.1 from its own thread.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace corva::test {

struct ScriptStep {
    enum class Kind { Say, Expect, Skip, Pause, Drop, Silence, Tls, NextConnection };
    Kind kind;
    std::string bytes;
    int ms = 0;
};

// Sends the bytes as one write.
inline ScriptStep Say(std::string bytes) {
    return {ScriptStep::Kind::Say, std::move(bytes), 0};
}
// Reads exactly these bytes from the client; the first differing byte is a mismatch.
inline ScriptStep Expect(std::string bytes) {
    return {ScriptStep::Kind::Expect, std::move(bytes), 0};
}
// Reads on until these bytes have come, whatever comes before them (a message
// body that a test does not pin byte for byte).
inline ScriptStep SkipPast(std::string bytes) {
    return {ScriptStep::Kind::Skip, std::move(bytes), 0};
}
// Waits before the next step (to split a reply over two reads, or to be slow).
inline ScriptStep Pause(int ms) {
    return {ScriptStep::Kind::Pause, {}, ms};
}
// Closes the connection from the server's side.
inline ScriptStep Drop() {
    return {ScriptStep::Kind::Drop, {}, 0};
}
// Keeps the connection open and says nothing more, whatever arrives.
inline ScriptStep Silence() {
    return {ScriptStep::Kind::Silence, {}, 0};
}

// Takes the TLS handshake as a server (the certificate set with
// useCertificate); what follows is said and expected inside it.
inline ScriptStep StartTls() {
    return {ScriptStep::Kind::Tls, {}, 0};
}
// Offers the handshake and expects the client to break it off (a certificate it refuses).
inline ScriptStep TlsRefused() {
    return {ScriptStep::Kind::Tls, "refused", 0};
}
// Waits until the client closes this connection, then serves its next one.
inline ScriptStep NextConnection() {
    return {ScriptStep::Kind::NextConnection, {}, 0};
}

class FakeServer {
public:
    // Starts listening at once; the script runs when the client connects.
    explicit FakeServer(std::vector<ScriptStep> script);
    ~FakeServer();
    FakeServer(const FakeServer&) = delete;
    FakeServer& operator=(const FakeServer&) = delete;

    int port() const { return port_; }
    // "127.0.0.1:<port>", the form a server setting takes.
    std::string address() const;

    // The certificate chain and key (PEM files) StartTls presents; before the client connects.
    void useCertificate(const std::string& certFile, const std::string& keyFile);

    // How long an Expect waits for its bytes before it counts as a mismatch (default 5 s).
    void setExpectTimeout(int ms) { expectTimeoutMs_ = ms; }

    // Everything the client sent, as it came.
    std::string received() const;
    // Mismatches, time-outs and bytes sent after the script ended, one per line;
    // empty when the client kept to the script.
    std::string problems() const;
    // True once every step has run (Silence and Drop count as run when reached).
    bool scriptDone() const { return done_; }
    // Waits until the client has closed the connection after the script, or the time runs out.
    bool waitClosed(int ms);
    // Ends the session and the thread; called by the destructor.
    void stop();

private:
    void run();
    bool acceptClient();
    bool runStep(const ScriptStep& step, size_t index);
    bool expect(const std::string& want, size_t index);
    // Reads what is there within ms into pending_; false when the client closed.
    bool readSome(int ms);
    void drainUntilClosed(bool reportExtra);
    void addProblem(const std::string& text);
    bool startTls(size_t index, bool refusal);
    bool nextConnection(size_t index);
    void closeClient();
    long sendBytes(const char* data, size_t size);

    std::vector<ScriptStep> script_;
    int listenFd_ = -1;
    int clientFd_ = -1;
    int port_ = 0;
    int expectTimeoutMs_ = 5000;
    std::atomic<bool> stopping_{false};
    std::atomic<bool> done_{false};
    std::atomic<bool> closed_{false};
    std::string pending_; // received, not yet matched by an Expect
    mutable std::mutex mutex_;
    std::condition_variable closedCv_;
    std::string received_;
    std::string problems_;
    std::thread thread_;
    std::string certFile_, keyFile_;
    void* ssl_ = nullptr; // SSL*, kept out of this header
    void* sslContext_ = nullptr;
};

// A text with CR, LF and other control bytes shown as escapes, for messages.
std::string visible(const std::string& bytes);

} // namespace corva::test
