// The client's record layer against the server session in-process, so that
// records can be cut into pieces and joined as TCP never does on demand.
#include "core/mSHAREDLogging.h"
#include "frmSendMailSSLEvents.h"
#include "smtp/frmSendMailSSL.h"
#include "support/Ssl2TestHost.h"

#include <gtest/gtest.h>

namespace corva::test {
namespace {

using State = frmSendMailSSL::HandshakeState;

class SslRecords : public ::testing::Test {
protected:
    ScriptedPlatform platform;
    platform::ScopedPlatform installed{platform};
    frmSendMailSSL client;
    SslEventLog log;
    Ssl2ServerSession server{Ssl2ServerKey::forBits(1024)};

    void SetUp() override {
        ResetLastActions();
        client.setListener(&log);
        ASSERT_TRUE(client.Setup());
        client.ConnectSSL("scripted", 443);
        socket().accept();
    }
    ScriptedSocket& socket() { return *platform.socket; }
    // What the client sent, handed to the server; the server's answer.
    std::vector<std::string> exchange() { return server.feed(socket().takeSent()); }

    // Runs the handshake one record per data event.
    void handshake() {
        for (int round = 0; round < 3; ++round)
            for (const std::string& record : exchange()) socket().deliver(record);
        ASSERT_EQ(log.connects, 1);
        ASSERT_TRUE(server.report().handshakeDone);
    }
};

TEST_F(SslRecords, HandshakeChecksOutAndNeedsNoMoreThanItsOwnRecords) {
    handshake();
    EXPECT_EQ(client.state(), State::ApplicationData);
    EXPECT_EQ(server.report().badMacs, 0);
    EXPECT_TRUE(server.report().faults.empty());
    EXPECT_EQ((std::vector<std::string>{"SSLConnecting", "SSLConnect"}), log.events);
    // Hello, master key and finished went out; hello, verify and finished came in.
    EXPECT_EQ(client.sendSequence(), 3u);
    EXPECT_EQ(client.receiveSequence(), 3u);
}

TEST_F(SslRecords, LongestRecordInPiecesKeepsItsLengthBetweenEvents) {
    handshake();
    std::string payload(frmSendMailSSL::MaxRecordData, '\0');
    for (std::size_t i = 0; i < payload.size(); ++i) payload[i] = static_cast<char>(i * 7 + 1);
    std::string record = server.dataRecord(payload);
    ASSERT_EQ(record.size(), 2u + 32767u);
    EXPECT_EQ(static_cast<unsigned char>(record[0]), 0xFF);

    // The header itself is split, then the body comes in uneven parts.
    const std::size_t cuts[] = {1, 2, 1000, 20000, record.size()};
    std::size_t from = 0;
    for (std::size_t to : cuts) {
        EXPECT_EQ(log.dataEvents, 0) << "data before the record was whole, at byte " << from;
        socket().deliver(record.substr(from, to - from));
        from = to;
    }
    EXPECT_EQ(log.dataEvents, 1);
    EXPECT_EQ(log.data, payload);
}

TEST_F(SslRecords, RecordsJoinedInOneReadAreAllHandled) {
    handshake();
    std::string first = server.dataRecord("first ");
    socket().deliver(first + server.dataRecord("second"));
    EXPECT_EQ(log.dataEvents, 1);
    EXPECT_EQ(log.data, "first second");

    // A whole record followed by part of the next: the data waits for the
    // event that completes the second.
    std::string third = server.dataRecord(" third");
    std::string fourth = server.dataRecord(" fourth");
    socket().deliver(third + fourth.substr(0, 5));
    EXPECT_EQ(log.dataEvents, 1);
    socket().deliver(fourth.substr(5));
    EXPECT_EQ(log.dataEvents, 2);
    EXPECT_EQ(log.data, "first second third fourth");
}

TEST_F(SslRecords, SequenceNumbersWrapToZeroBothWays) {
    handshake();
    client.setSequences(4294967295u, 4294967295u);
    server.setSequences(4294967295u, 4294967295u);
    EXPECT_FALSE(client.SendSSL("before wrap,"));
    EXPECT_FALSE(client.SendSSL(" after wrap"));
    EXPECT_EQ(client.sendSequence(), 1u);

    std::string both;
    for (const std::string& record : exchange()) both += record;
    socket().deliver(both);
    EXPECT_EQ(server.report().badMacs, 0);
    EXPECT_EQ(server.report().received, "before wrap, after wrap");
    EXPECT_EQ(log.data, "before wrap, after wrap");
    EXPECT_EQ(client.receiveSequence(), 1u);
}

TEST_F(SslRecords, BadMacFromServerDropsOnlyThatRecord) {
    handshake();
    socket().deliver(server.dataRecord("forged", true));
    EXPECT_EQ(log.dataEvents, 0);
    // The sequence moved on all the same, so the next good record checks out.
    socket().deliver(server.dataRecord("genuine"));
    std::string spoiled = server.dataRecord("spoiled again", true);
    socket().deliver(spoiled + server.dataRecord(" and more"));
    EXPECT_EQ(log.data, "genuine and more");
    EXPECT_EQ(client.state(), State::ApplicationData);
}

TEST_F(SslRecords, ServerVerifyWithAnotherChallengeClosesTheSocket) {
    server.spoilVerify();
    for (int round = 0; round < 2; ++round)
        for (const std::string& record : exchange()) socket().deliver(record);
    EXPECT_EQ(socket().state(), platform::SocketState::Closed);
    EXPECT_EQ(log.connects, 0);
    EXPECT_EQ(client.state(), State::WaitServerVerify);
    EXPECT_TRUE(socket().takeSent().empty()) << "CLIENT-FINISHED went out";
}

TEST_F(SslRecords, ShortOrStrangeServerHelloEndsWithoutACrash) {
    exchange();
    // A one-byte hello, then lengths that point far past the record's end.
    socket().deliver(std::string("\x80\x01\x04", 3));
    socket().deliver(std::string("\x80\x0b\x04\x00\x01\x00\x02\xff\xff\x00\x03\xff\xff", 13));
    EXPECT_EQ(log.connects, 0);
    EXPECT_TRUE(socket().takeSent().empty());
    EXPECT_FALSE(LastActionEntries().empty());
    socket().closeFromFarSide();
    EXPECT_EQ(log.closes, 1);
    EXPECT_EQ(client.state(), State::WaitServerHello);
}

TEST_F(SslRecords, CloseEventForgetsTheHandshakeAndANewConnectStartsAfresh) {
    handshake();
    socket().closeFromFarSide();
    EXPECT_EQ(client.state(), State::WaitServerHello);
    EXPECT_EQ(log.closes, 1);

    Ssl2ServerSession second(Ssl2ServerKey::forBits(1024));
    client.ConnectSSL("scripted", 443);
    socket().accept();
    for (int round = 0; round < 3; ++round)
        for (const std::string& record : second.feed(socket().takeSent())) socket().deliver(record);
    EXPECT_EQ(log.connects, 2) << "ready was not reported again";
    EXPECT_EQ(second.report().badMacs, 0);
}

} // namespace
} // namespace corva::test
