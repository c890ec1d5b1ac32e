#include "ScriptedNet.h"

namespace corva::fuzz {

namespace S = platform::SocketState;

class ScriptedSocket : public platform::Socket {
public:
    explicit ScriptedSocket(ScriptedNet& net) : net_(net) { net_.sockets_.insert(this); }
    ~ScriptedSocket() override {
        net_.sockets_.erase(this);
        if (net_.talking_ == this) net_.talking_ = nullptr;
    }
    void setListener(platform::SocketListener* listener) override { listener_ = listener; }
    void connect(const std::string& host, int port) override {
        host_ = host;
        port_ = port;
        state_ = S::Connecting;
        farClosed_ = false;
        secure_ = false;
        later([this] {
            state_ = S::Connected;
            net_.talking_ = this;
            if (listener_) listener_->socketConnected();
        });
    }
    // The handshake counts as done at once: the replies are the decrypted stream.
    void connectSecure(const std::string& host, int port, const std::string&) override {
        connect(host, port);
        secure_ = true;
    }
    bool isSecure() const override { return secure_; }
    void close() override {
        state_ = S::Closed;
        if (net_.talking_ == this) net_.talking_ = nullptr;
    }
    void sendData(const std::string& data) override {
        net_.sent_ += data;
        long long n = static_cast<long long>(data.size());
        later([this, n] {
            if (!listener_) return;
            listener_->socketSendProgress(n, 0);
            listener_->socketSendComplete();
        });
    }
    int state() const override { return state_; }
    void setLocalPort(int) override {}
    std::string remoteHost() const override { return host_; }
    int remotePort() const override { return port_; }
    int localPort() const override { return 49152; }
    std::string localHostName() const override { return "client.example"; }
    std::string localIP() const override { return "192.0.2.1"; }
    long long bytesToWrite() const override { return 0; }

    void receive(const std::string& data) {
        if (listener_) listener_->socketDataArrival(data);
    }
    void closeFromFarSide() {
        farClosed_ = true;
        close();
        if (listener_) listener_->socketClosed();
    }
    bool farClosed() const { return farClosed_; }

private:
    // Queues an event that reaches this socket only while it still exists.
    void later(std::function<void()> event) {
        ScriptedNet& net = net_;
        net.events_.push_back([&net, self = this, event = std::move(event)] {
            if (net.sockets_.count(self)) event();
        });
    }

    ScriptedNet& net_;
    platform::SocketListener* listener_ = nullptr;
    int state_ = S::Closed;
    bool farClosed_ = false;
    bool secure_ = false;
    std::string host_;
    int port_ = 0;
};

class ScriptedTimer : public platform::Timer {
public:
    explicit ScriptedTimer(ScriptedNet& net) : net_(net) { net_.timers_.insert(this); }
    ~ScriptedTimer() override { net_.timers_.erase(this); }
    void setCallback(std::function<void()> tick) override { tick_ = std::move(tick); }
    void setInterval(int milliseconds) override { interval_ = milliseconds; }
    int interval() const override { return interval_; }
    void setEnabled(bool enabled) override { enabled_ = enabled; }
    bool enabled() const override { return enabled_; }
    void fire() {
        if (tick_) tick_();
    }

private:
    ScriptedNet& net_;
    std::function<void()> tick_;
    int interval_ = 0;
    bool enabled_ = false;
};

ScriptedNet::ScriptedNet(std::vector<std::string> replies)
    : replies_(replies.begin(), replies.end()),
      // A fixed mid-morning, far from the midnight wrap of the waits.
      now_(std::chrono::system_clock::from_time_t(1767261600)), installed_(*this) {}

ScriptedNet::~ScriptedNet() = default;

std::unique_ptr<platform::Socket> ScriptedNet::createSocket() {
    return std::make_unique<ScriptedSocket>(*this);
}

std::unique_ptr<platform::Timer> ScriptedNet::createTimer() {
    return std::make_unique<ScriptedTimer>(*this);
}

bool ScriptedNet::deliverPending() {
    if (!events_.empty()) {
        auto event = std::move(events_.front());
        events_.pop_front();
        event();
        return true;
    }
    ScriptedSocket* socket = talking_;
    if (!socket || socket->state() != S::Connected) return false;
    if (!replies_.empty()) {
        std::string reply = std::move(replies_.front());
        replies_.pop_front();
        socket->receive(reply);
        return true;
    }
    if (socket->farClosed()) return false;
    socket->closeFromFarSide();
    return true;
}

bool ScriptedNet::tickTimers() {
    std::vector<ScriptedTimer*> running;
    int longest = 0;
    for (ScriptedTimer* t : timers_)
        if (t->enabled()) {
            running.push_back(t);
            longest = std::max(longest, t->interval());
        }
    if (running.empty()) return false;
    now_ += std::chrono::milliseconds(longest);
    // A tick may stop or destroy another timer.
    for (ScriptedTimer* t : running)
        if (timers_.count(t) && t->enabled()) t->fire();
    return true;
}

bool ScriptedNet::step() {
    return deliverPending() || tickTimers();
}

void ScriptedNet::sleepMs(int milliseconds) {
    now_ += std::chrono::milliseconds(milliseconds);
}

bool ScriptedNet::runUntil(const std::function<bool()>& done, int timeoutMs) {
    while (!done())
        if (!deliverPending()) {
            now_ += std::chrono::milliseconds(timeoutMs);
            tickTimers();
            break;
        }
    return done();
}

} // namespace corva::fuzz
