// The scripted server must catch a client that strays from the script, or
// every test built on it would pass whatever the client sends.
#include "support/FakeServer.h"
#include "support/ServerProcess.h"

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

namespace corva::test {
namespace {

class RawClient {
public:
    explicit RawClient(int port) : fd_(connectToLoopback(port)) {}
    ~RawClient() { close(); }
    bool connected() const { return fd_ >= 0; }
    void send(const std::string& s) { ::send(fd_, s.data(), s.size(), MSG_NOSIGNAL); }
    // Reads until `want` bytes came or the server closed.
    std::string read(size_t want) {
        std::string got;
        char buf[256];
        while (got.size() < want) {
            ssize_t n = ::recv(fd_, buf, sizeof buf, 0);
            if (n <= 0) break;
            got.append(buf, static_cast<size_t>(n));
        }
        return got;
    }
    void close() {
        if (fd_ >= 0) ::close(fd_);
        fd_ = -1;
    }

private:
    int fd_ = -1;
};

TEST(FakeServer, AClientThatKeepsToTheScriptLeavesNoProblems) {
    FakeServer server(
        {Say("+OK hi\r\n"), Expect("USER ann\r\n"), Say("+OK\r\n"), Pause(20), Say("more\r\n")});
    RawClient client(server.port());
    ASSERT_TRUE(client.connected());
    EXPECT_EQ(client.read(8), "+OK hi\r\n");
    client.send("USER ");
    client.send("ann\r\n"); // one command over two writes is still the same bytes
    EXPECT_EQ(client.read(11), "+OK\r\nmore\r\n");
    client.close();
    EXPECT_TRUE(server.waitClosed(2000));
    EXPECT_TRUE(server.scriptDone());
    EXPECT_EQ(server.problems(), "");
    EXPECT_EQ(server.received(), "USER ann\r\n");
}

TEST(FakeServer, MismatchesSilenceAndExtraBytesAreReported) {
    {
        FakeServer server({Say("+OK\r\n"), Expect("USER ann\r\n"), Say("+OK\r\n")});
        RawClient client(server.port());
        client.read(5);
        client.send("USER bob\r\n");
        EXPECT_EQ(client.read(5), ""); // the session ends at the mismatch
        EXPECT_TRUE(server.waitClosed(2000));
        EXPECT_EQ(server.problems(),
                  "step 2: expected \"USER ann\\r\\n\", got \"USER bob\\r\\n\"\n");
    }
    {
        FakeServer server({Expect("QUIT\r\n")});
        server.setExpectTimeout(100);
        RawClient client(server.port());
        client.send("QU");
        EXPECT_TRUE(server.waitClosed(2000));
        EXPECT_EQ(server.problems(),
                  "step 1: expected \"QUIT\\r\\n\", got \"QU\" and then nothing\n");
    }
    {
        FakeServer server({Say("+OK\r\n")});
        RawClient client(server.port());
        client.read(5);
        client.send("QUIT\r\n");
        client.close();
        EXPECT_TRUE(server.waitClosed(2000));
        EXPECT_EQ(server.problems(), "after the script: client sent \"QUIT\\r\\n\"\n");
    }
}

TEST(FakeServer, DropClosesAndSilenceAcceptsAnything) {
    {
        FakeServer server({Say("+OK\r\n"), Drop()});
        RawClient client(server.port());
        EXPECT_EQ(client.read(100), "+OK\r\n"); // then end of stream
    }
    {
        FakeServer server({Silence()});
        RawClient client(server.port());
        client.send("anything\r\n");
        client.close();
        EXPECT_TRUE(server.waitClosed(2000));
        EXPECT_EQ(server.problems(), "");
        EXPECT_EQ(server.received(), "anything\r\n");
    }
}

} // namespace
} // namespace corva::test
