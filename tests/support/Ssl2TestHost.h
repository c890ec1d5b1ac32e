// The far end for the SSL 2.0 client's tests: the server side of the same
// protocol, with a key and certificate made at run time. Ssl2ServerSession is
// plain code fed with bytes, so tests can cut and join its records at will;
// Ssl2TestHost runs sessions over real TCP on 127.0.0.1 from a thread.
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace corva::test {

// An RSA key pair with a self-signed certificate (DER). Made once per size
// and process: key generation is the slow part of these tests.
struct Ssl2ServerKey {
    void* key = nullptr; // EVP_PKEY, kept opaque for the tests' includes
    std::string certificate;
    static const Ssl2ServerKey& forBits(int bits);

    Ssl2ServerKey() = default;
    ~Ssl2ServerKey();
    Ssl2ServerKey(const Ssl2ServerKey&) = delete;
    Ssl2ServerKey& operator=(const Ssl2ServerKey&) = delete;
};

// What a session has seen of the client; every client MAC is checked.
struct Ssl2SessionReport {
    bool handshakeDone = false;
    int goodMacs = 0;
    int badMacs = 0;
    // Data bytes in each application record received.
    std::vector<std::size_t> recordSizes;
    std::string received;
    // Protocol faults of the client, in words.
    std::vector<std::string> faults;
};

class Ssl2ServerSession {
public:
    explicit Ssl2ServerSession(const Ssl2ServerKey& key);
    ~Ssl2ServerSession();
    Ssl2ServerSession(const Ssl2ServerSession&) = delete;
    Ssl2ServerSession& operator=(const Ssl2ServerSession&) = delete;

    // Takes bytes from the client; returns the framed records to send back.
    std::vector<std::string> feed(const std::string& bytes);
    // A framed application record from the server; a spoiled one has a wrong MAC.
    std::string dataRecord(const std::string& data, bool spoilMac = false);
    void setSequences(std::uint32_t send, std::uint32_t receive);
    // Replaces the challenge in the SERVER-VERIFY, as a server that lost its way.
    void spoilVerify() { spoilVerify_ = true; }
    const Ssl2SessionReport& report() const { return report_; }

private:
    struct Keys;
    void handle(const std::string& body, std::vector<std::string>& out);
    void fault(const std::string& text) { report_.faults.push_back(text); }
    std::string clear(const std::string& body);
    std::string sealed(const std::string& data, bool spoilMac = false);
    bool openSealed(const std::string& body, std::string& data);

    const Ssl2ServerKey& key_;
    std::unique_ptr<Keys> keys_;
    int stage_ = 0;
    std::string pending_;
    std::string challenge_;
    std::string connectionId_;
    std::uint32_t sendSequence_ = 0;
    std::uint32_t receiveSequence_ = 0;
    bool spoilVerify_ = false;
    Ssl2SessionReport report_;
};

// Listens on 127.0.0.1 on a free port and serves one connection at a time.
class Ssl2TestHost {
public:
    struct Options {
        int keyBits = 1024;
        // Closes a connection that has been silent this long; 0 never.
        int idleCloseMs = 0;
    };
    Ssl2TestHost();
    explicit Ssl2TestHost(Options options);
    ~Ssl2TestHost();
    Ssl2TestHost(const Ssl2TestHost&) = delete;
    Ssl2TestHost& operator=(const Ssl2TestHost&) = delete;

    int port() const { return port_; }
    // The latest connection's report.
    Ssl2SessionReport report() const;

private:
    void run();
    void serve(int fd);

    Options options_;
    const Ssl2ServerKey& key_;
    int listener_ = -1;
    int port_ = 0;
    std::atomic<bool> stop_{false};
    mutable std::mutex mutex_;
    Ssl2SessionReport report_;
    std::thread thread_;
};

} // namespace corva::test
