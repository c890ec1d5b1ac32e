// The SSL 2.0 client over real TCP against the test host: handshake, echo,
// long sends, the refused send and a server key the client cannot use.
#include "smtp/frmSendMailSSL.h"
#include "core/mSHAREDLogging.h"
#include "support/LastActions.h"
#include "support/RecordingPlatform.h"
#include "support/Ssl2TestHost.h"

#include "frmSendMailSSLEvents.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>

namespace corva::test {
namespace {

constexpr int WaitMs = 5000;

bool waitFor(const std::function<bool()>& done) {
    return platform::current().eventLoop().runUntil(done, WaitMs);
}

TEST(SslOverTcp, SendsOnlyWhenConnectedAndEchoesLongTextsThroughTheHost) {
    Ssl2TestHost host;
    frmSendMailSSL client;
    SslEventLog log;
    client.setListener(&log);
    ResetLastActions();
    auto early = client.SendSSL("before connecting");
    ASSERT_TRUE(early);
    EXPECT_EQ(early->number, frmSendMailSSL::WrongStateError);
    EXPECT_EQ(early->description,
              "Wrong protocol or connection state for the requested transaction or request.");
    EXPECT_TRUE(lastActionsHold("(40006)"));
    ASSERT_TRUE(client.Setup());
    client.ConnectSSL("127.0.0.1", host.port());
    ASSERT_TRUE(waitFor([&] { return log.connects == 1; })) << host.report().faults.size();
    EXPECT_EQ((std::vector<std::string>{"SSLConnecting", "SSLConnect"}), log.events);

    const std::string hello = "EHLO corva\r\n";
    EXPECT_FALSE(client.SendSSL(hello));
    ASSERT_TRUE(waitFor([&] { return log.data == hello; })) << log.data;

    // Three records of 32,751, 32,751 and 4,498 data bytes, echoed intact.
    std::string big(70000, '\0');
    for (std::size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>((i * 31) >> 3);
    log.data.clear();
    EXPECT_FALSE(client.SendSSL(big));
    ASSERT_TRUE(waitFor([&] { return log.data.size() >= big.size(); })) << log.data.size();
    EXPECT_TRUE(log.data == big);

    Ssl2SessionReport seen = host.report();
    EXPECT_TRUE(seen.handshakeDone);
    EXPECT_EQ(seen.badMacs, 0);
    EXPECT_EQ(seen.goodMacs, 1 + 1 + 3); // CLIENT-FINISHED, the hello, the three pieces
    EXPECT_EQ((std::vector<std::size_t>{hello.size(), 32751, 32751, 4498}), seen.recordSizes);
    EXPECT_TRUE(seen.faults.empty()) << seen.faults.front();

    client.CloseSSL();
    EXPECT_EQ(log.events.back(), "SSLClose");
    auto refused = client.SendSSL("too late");
    ASSERT_TRUE(refused);
    EXPECT_EQ(refused->number, 40006);
    EXPECT_EQ(log.events.back(), "SSLClose") << "a refused send was announced";
}

TEST(SslOverTcp, ServerKeyOfAnotherSizeEndsWhenTheServerGivesUp) {
    ResetLastActions();
    Ssl2TestHost::Options options;
    options.keyBits = 768;
    options.idleCloseMs = 300;
    Ssl2TestHost host(options);
    frmSendMailSSL client;
    SslEventLog log;
    client.setListener(&log);
    ASSERT_TRUE(client.Setup());
    client.ConnectSSL("127.0.0.1", host.port());
    ASSERT_TRUE(waitFor([&] { return log.closes == 1; }));
    EXPECT_EQ(log.connects, 0);
    EXPECT_EQ(client.state(), frmSendMailSSL::HandshakeState::WaitServerHello);
    EXPECT_TRUE(lastActionsHold("CryptImportKey"));
    EXPECT_FALSE(host.report().handshakeDone);
}

TEST(SslOverTcp, RefusedConnectionIsAnErrorEvent) {
    int port;
    {
        Ssl2TestHost gone;
        port = gone.port();
    }
    frmSendMailSSL client;
    SslEventLog log;
    client.setListener(&log);
    client.ConnectSSL("127.0.0.1", port);
    ASSERT_TRUE(waitFor([&] { return log.events.size() >= 2; }));
    EXPECT_EQ(log.events[1].rfind("SSLError 10061 ", 0), 0u) << log.events[1];
    EXPECT_EQ(log.connects, 0);
}

TEST(SslSetup, MissingCipherOffersTheDownloadAndConnectDoesNotCrash) {
    // With no provider modules to be found, RC4 is unavailable.
    const char* before = std::getenv("OPENSSL_MODULES");
    std::string kept = before ? before : "";
    setenv("OPENSSL_MODULES", "/nonexistent-corva-modules", 1);
    ShellRecordingPlatform agreeing;
    agreeing.prompts_.answer = platform::Answer::Yes;
    {
        platform::ScopedPlatform installed(agreeing);
        frmSendMailSSL client;
        EXPECT_FALSE(client.Setup());
        ASSERT_EQ(agreeing.prompts_.messages.size(), 1u);
        EXPECT_EQ(agreeing.prompts_.messages[0],
                  "LHV has detected that you do not have the required High Encryption Pack "
                  "installed.\nWould like to download this pack from Microsoft's website?");
        EXPECT_EQ(agreeing.shell_.opened.size(), 1u);
        SslEventLog log;
        client.setListener(&log);
        client.ConnectSSL("127.0.0.1", 1);
        client.CloseSSL();
        EXPECT_EQ(agreeing.prompts_.messages.size(), 1u) << "the refused setup was offered again";
    }
    if (before)
        setenv("OPENSSL_MODULES", kept.c_str(), 1);
    else
        unsetenv("OPENSSL_MODULES");
}

} // namespace
} // namespace corva::test
