// The stand-alone SSL 2.0 client: one cipher (RC4 128 with MD5), one server key
// size (1,024-bit RSA), over a plain platform socket. No mail path uses it yet;
// it is self-contained so that it can later carry a dialogue.
#pragma once

#include "platform/Platform.h"
#include "smtp/Ssl2Crypto.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace corva {

// The client's events, in their order of definition.
class frmSendMailSSLListener {
public:
    virtual ~frmSendMailSSLListener() = default;
    // The handshake has finished; application data may flow.
    virtual void SSLConnect() = 0;
    virtual void SSLClose() = 0;
    virtual void SSLData(const std::string& data) = 0;
    virtual void SSLError(const std::string& description, int number) = 0;
    virtual void SSLConnecting() = 0;
    virtual void SSLSendingData(const std::string& data) = 0;
};

// Why an operation was refused.
struct SSLFailure {
    int number = 0;
    std::string description;
};

class frmSendMailSSL : private platform::SocketListener {
public:
    static constexpr int WrongStateError = 40006;
    // The largest record body is 32,767 bytes; the MAC takes 16 of them.
    static constexpr std::size_t MaxRecordData = 32767 - 16;

    enum class HandshakeState : std::uint16_t {
        WaitServerHello = 0,
        WaitServerVerify = 1,
        WaitServerFinished = 2,
        ApplicationData = 3,
    };

    frmSendMailSSL();
    ~frmSendMailSSL() override;
    frmSendMailSSL(const frmSendMailSSL&) = delete;
    frmSendMailSSL& operator=(const frmSendMailSSL&) = delete;

    void setListener(frmSendMailSSLListener* listener) { listener_ = listener; }

    // Acquires the cryptography. Offers the user the download page when the
    // cipher is not available; false then.
    bool Setup();
    // Destroys the keys and releases the cryptography.
    void TearDown();

    void ConnectSSL(const std::string& host, int port);
    // Refused (error 40006) unless the socket is connected; sends the data as
    // records otherwise.
    std::optional<SSLFailure> SendSSL(const std::string& data);
    void CloseSSL();

    HandshakeState state() const { return state_; }
    // The record counters. Settable so that a resumed dialogue can continue
    // its numbering, and the wrap at 2^32 can be reached.
    std::uint32_t sendSequence() const { return sendSequence_; }
    std::uint32_t receiveSequence() const { return receiveSequence_; }
    void setSequences(std::uint32_t send, std::uint32_t receive);

private:
    void socketConnected() override;
    void socketClosed() override;
    void socketDataArrival(const std::string& data) override;
    void socketError(int number, const std::string& description) override;

    void readRecords(const std::string& data);
    void handleRecord(const std::string& body);
    void onServerHello(const std::string& body);
    void onServerVerify(const std::string& body);
    void onServerFinished(const std::string& body);
    void onApplicationData(const std::string& body);
    void sendClientMasterKey();

    bool macIsGood(const std::string& plain);
    void sendRecord(const std::string& body);
    void writeRecords(const std::string& data);
    void dropSocket();

    std::unique_ptr<platform::Socket> socket_;
    frmSendMailSSLListener* listener_ = nullptr;
    Ssl2Crypto crypto_;
    bool setupTried_ = false;

    HandshakeState state_ = HandshakeState::WaitServerHello;
    bool readyReported_ = false;
    // Body length of the record being read; 0 between records.
    std::uint16_t recordLength_ = 0;
    // Bytes received but not yet part of a handled record.
    std::string pending_;

    Ssl2StreamKey writeKey_;
    Ssl2StreamKey readKey_;
    std::string masterKey_;
    std::string readMacSecret_;
    std::string writeMacSecret_;
    std::string challenge_;
    std::string connectionId_;
    std::string certificate_;
    std::string publicKeyBlob_;
    std::string clientHello_;
    std::uint32_t sendSequence_ = 0;
    std::uint32_t receiveSequence_ = 0;
    std::string dataBuffer_;
};

} // namespace corva
