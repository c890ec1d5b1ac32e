// How the session ends when the socket itself fails: network-class errors end
// at once, anything else waits for the time-out.
#include "Pop3Harness.h"

#include "core/mSHAREDLogging.h"

namespace corva::test {
namespace {

// A socket whose connect fails with the error it was given.
class FailingSocket : public platform::Socket {
public:
    explicit FailingSocket(int error) : error_(error) {}
    void setListener(platform::SocketListener* l) override { listener_ = l; }
    void connect(const std::string&, int) override {
        failed_ = true;
        if (listener_) listener_->socketError(error_, "scripted failure");
    }
    void close() override { failed_ = false; }
    void sendData(const std::string&) override {}
    int state() const override {
        return failed_ ? platform::SocketState::Error : platform::SocketState::Closed;
    }
    void setLocalPort(int) override {}
    std::string remoteHost() const override { return ""; }
    int remotePort() const override { return 0; }
    int localPort() const override { return 0; }
    std::string localHostName() const override { return "localhost"; }
    std::string localIP() const override { return "127.0.0.1"; }
    long long bytesToWrite() const override { return 0; }

private:
    int error_;
    bool failed_ = false;
    platform::SocketListener* listener_ = nullptr;
};

class FailingPlatform : public platform::qt::QtPlatform {
public:
    int error = 0;
    std::unique_ptr<platform::Socket> createSocket() override {
        return std::make_unique<FailingSocket>(error);
    }
};

class SocketErrorTest : public Pop3Test, public ::testing::WithParamInterface<int> {};

TEST_P(SocketErrorTest, NetworkErrorsEndTheTransferAtOnce) {
    FailingPlatform failing;
    failing.error = GetParam();
    failing.setPrompts(&prompts);
    platform::ScopedPlatform installed(failing);
    sset("MailTimeout", 1);
    account(0, "unreachable.example", "ann", "pw");
    EventLog log;
    frmGetMail pop;
    pop.setListener(&log);
    pop.GetHeaders(0, false, false);
    EXPECT_EQ(log.outline(), (Outline{"DoingServer: Test", "NoConnection", "Finished"}));
    EXPECT_TRUE(prompts.messages.empty());
    EXPECT_TRUE(lastActionsHold("Winsock Error " + std::to_string(GetParam())));
    if (GetParam() == platform::SocketError::TimedOut) {
        // The timer is off: no time-out follows the end.
        platform::current().eventLoop().runUntil([] { return false; }, 1300);
        EXPECT_FALSE(log.saw("TimedOut: 1"));
    }
}

INSTANTIATE_TEST_SUITE_P(Pop3, SocketErrorTest,
                         ::testing::Values(11001, 11004, 10060, 10051, 10065, 10053));

} // namespace
} // namespace corva::test
