// What the SSL 2.0 client's tests observe: its events as they come, and a
// platform whose socket the test drives by hand, piece by piece.
#pragma once

#include "platform/Platform.h"
#include "smtp/frmSendMailSSL.h"

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace corva::test {

class SslEventLog : public frmSendMailSSLListener {
public:
    std::vector<std::string> events;
    std::string data;
    int connects = 0;
    int closes = 0;
    int dataEvents = 0;

    void SSLConnect() override {
        events.push_back("SSLConnect");
        ++connects;
    }
    void SSLClose() override {
        events.push_back("SSLClose");
        ++closes;
    }
    void SSLData(const std::string& d) override {
        events.push_back("SSLData");
        data += d;
        ++dataEvents;
    }
    void SSLError(const std::string& description, int number) override {
        events.push_back("SSLError " + std::to_string(number) + " " + description);
    }
    void SSLConnecting() override { events.push_back("SSLConnecting"); }
    void SSLSendingData(const std::string& d) override {
        events.push_back("SSLSendingData " + std::to_string(d.size()));
    }
};

// Connects only when told, keeps what is sent, and delivers the pieces the
// test chooses as separate data events.
class ScriptedSocket : public platform::Socket {
public:
    void setListener(platform::SocketListener* listener) override { listener_ = listener; }
    void connect(const std::string&, int) override { state_ = platform::SocketState::Connecting; }
    void close() override { state_ = platform::SocketState::Closed; }
    void sendData(const std::string& data) override { sent_ += data; }
    int state() const override { return state_; }
    void setLocalPort(int) override {}
    std::string remoteHost() const override { return "scripted"; }
    int remotePort() const override { return 0; }
    int localPort() const override { return 0; }
    std::string localHostName() const override { return "localhost"; }
    std::string localIP() const override { return "127.0.0.1"; }
    long long bytesToWrite() const override { return 0; }

    void accept() {
        state_ = platform::SocketState::Connected;
        if (listener_) listener_->socketConnected();
    }
    void deliver(const std::string& piece) {
        if (listener_) listener_->socketDataArrival(piece);
    }
    void closeFromFarSide() {
        state_ = platform::SocketState::Closed;
        if (listener_) listener_->socketClosed();
    }
    std::string takeSent() { return std::exchange(sent_, std::string()); }

private:
    platform::SocketListener* listener_ = nullptr;
    int state_ = platform::SocketState::Closed;
    std::string sent_;
};

class ScriptedPlatform : public platform::Platform {
public:
    std::unique_ptr<platform::Socket> createSocket() override {
        auto made = std::make_unique<ScriptedSocket>();
        socket = made.get();
        return made;
    }
    ScriptedSocket* socket = nullptr;
};

} // namespace corva::test
