#include "cycle/ServerProbe.h"

#include "core/Account.h"
#include "core/ErrorHandler.h"
#include "core/Strings.h"

#include <memory>

namespace corva {

namespace {

// Greeting, then for STARTTLS one command (EHLO, then STARTTLS for SMTP),
// then the handshake. A reply is complete at its last line.
class Probe : public platform::SocketListener {
public:
    Probe(ProbeProtocol protocol, int security) : protocol_(protocol), security_(security) {}

    ProbeResult run(const std::string& host, int port, const std::string& trusted, int timeoutMs) {
        socket_ = platform::current().createSocket();
        socket_->setListener(this);
        if (!trusted.empty()) socket_->setTrustedFingerprints({trusted});
        host_ = host;
        if (security_ == Account::Implicit)
            socket_->connectSecure(host, port, host);
        else
            socket_->connect(host, port);
        bool ended = platform::current().eventLoop().runUntil([this] { return done_; }, timeoutMs);
        if (!ended && result_.error.empty())
            result_.error = host + ":" + Str(port) + " did not answer in time";
        socket_->setListener(nullptr);
        socket_->close();
        return result_;
    }

private:
    void socketSecured() override {
        result_.secure = true;
        result_.verified = true;
        result_.certificate = socket_->peerCertificate();
        done_ = true;
    }
    void socketError(int number, const std::string& description) override {
        if (number == platform::SocketError::CertificateRejected) {
            // A channel with a certificate nobody vouched for: still secure to talk about.
            result_.secure = true;
            result_.certificate = socket_->peerCertificate();
        }
        result_.error = description;
        done_ = true;
    }
    void socketClosed() override {
        if (result_.error.empty()) result_.error = host_ + " closed the connection";
        done_ = true;
    }
    void socketDataArrival(const std::string& data) override {
        if (security_ != Account::StartTls || done_) return;
        buffer_ += data;
        if (!complete()) return;
        const std::string reply = buffer_;
        buffer_.clear();
        const bool good = protocol_ == ProbeProtocol::Pop3 ? StartsWith(reply, "+OK")
                                                           : reply[0] == '2' || reply[0] == '3';
        if (!good) {
            result_.error = "The server refused: " + Trim(reply);
            done_ = true;
            return;
        }
        ++step_;
        if (protocol_ == ProbeProtocol::Pop3) {
            if (step_ == 1) send("STLS");
            if (step_ == 2) socket_->startSecure(host_);
        } else {
            if (step_ == 1) send("EHLO localhost");
            if (step_ == 2) {
                if (InStrNoCase(reply, "STARTTLS") == 0) {
                    result_.error = "The server does not offer STARTTLS";
                    done_ = true;
                    return;
                }
                send("STARTTLS");
            }
            if (step_ == 3) socket_->startSecure(host_);
        }
    }
    bool complete() const {
        if (!EndsWith(buffer_, "\r\n") && !EndsWith(buffer_, "\n")) return false;
        if (protocol_ == ProbeProtocol::Pop3) return true;
        // The last line of an SMTP reply has a blank after its code.
        size_t start = buffer_.rfind('\n', buffer_.size() - 2);
        start = start == std::string::npos ? 0 : start + 1;
        return buffer_.size() - start >= 4 && buffer_[start + 3] != '-';
    }
    void send(const std::string& command) {
        socket_->sendData(command + "\r\n");
        socket_->flush();
    }

    ProbeProtocol protocol_;
    int security_;
    std::unique_ptr<platform::Socket> socket_;
    std::string host_;
    std::string buffer_;
    int step_ = 0;
    bool done_ = false;
    ProbeResult result_;
};

} // namespace

ProbeResult ProbeServer(ProbeProtocol protocol, const std::string& host, int port, int security,
                        const std::string& trusted, int timeoutMs) {
    return guardedValue("ProbeServer", "ServerProbe", ProbeResult{}, [&] {
        Probe probe(protocol, security);
        return probe.run(host, port, trusted, timeoutMs);
    });
}

} // namespace corva
