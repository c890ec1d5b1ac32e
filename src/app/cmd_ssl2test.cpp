// "corva ssl2-test": opens an SSL 2.0 session with the stand-alone client and
// prints its events, the way the debug window lists them.
#include "app/Command.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "smtp/frmSendMailSSL.h"

#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <optional>

namespace corva::app {
namespace {

class PrintedEvents : public frmSendMailSSLListener {
public:
    bool connected = false;
    bool closed = false;
    bool failed = false;
    bool gotData = false;

    void SSLConnect() override {
        connected = true;
        std::cout << "SSLConnect" << std::endl;
    }
    void SSLClose() override {
        closed = true;
        std::cout << "SSLClose" << std::endl;
    }
    void SSLData(const std::string& data) override {
        gotData = true;
        std::cout << "SSLData (" << data.size() << " bytes): " << EscapeBytes(data) << std::endl;
    }
    void SSLError(const std::string& description, int number) override {
        failed = true;
        std::cout << "SSLError " << number << ": " << description << std::endl;
    }
    void SSLConnecting() override { std::cout << "SSLConnecting" << std::endl; }
    void SSLSendingData(const std::string& data) override {
        std::cout << "SSLSendingData (" << data.size() << " bytes): " << EscapeBytes(data)
                  << std::endl;
    }
};

// What went wrong inside the client is in the ring of last actions.
void printRecordedFailures() {
    for (const std::string& entry : LastActionEntries()) std::cerr << "  " << entry << "\n";
}

int run(CommandArgs& args) {
    constexpr const char* usage = "corva ssl2-test HOST PORT [--send TEXT] [--wait SECONDS]";
    std::optional<std::string> text = args.option("--send", "a text");
    int waitSeconds = 10;
    if (auto wait = args.option("--wait", "a number of seconds"))
        waitSeconds = std::atoi(wait->c_str());
    if (auto status = args.refused(usage, 2, 2)) return *status;
    if (std::atoi(args.rest()[1].c_str()) <= 0)
        return RefuseWith("ssl2-test", "PORT is a number, not \"" + args.rest()[1] + "\"");
    const std::string host = args.rest()[0];
    const int port = std::atoi(args.rest()[1].c_str());
    auto& loop = platform::current().eventLoop();
    const int waitMs = (waitSeconds > 0 ? waitSeconds : 10) * 1000;

    frmSendMailSSL ssl;
    PrintedEvents events;
    ssl.setListener(&events);
    if (!ssl.Setup()) {
        std::cerr << "corva ssl2-test: RC4 and MD5 are not available from libcrypto "
                     "(its legacy provider is missing)\n";
        return 1;
    }
    ssl.ConnectSSL(host, port);
    loop.runUntil([&] { return events.connected || events.closed || events.failed; }, waitMs);
    if (!events.connected) {
        if (!events.closed && !events.failed)
            std::cout << "No handshake within the time"
                      << "\n";
        printRecordedFailures();
        ssl.CloseSSL();
        ssl.TearDown();
        return 1;
    }

    if (text) {
        if (auto refused = ssl.SendSSL(*text)) {
            std::cerr << "corva ssl2-test: " << refused->description << " (" << refused->number
                      << ")\n";
        } else {
            // Whatever comes back is printed until the server falls silent for a
            // second after answering, or closes.
            loop.runUntil([&] { return events.gotData || events.closed; }, waitMs);
            while (events.gotData && !events.closed) {
                events.gotData = false;
                loop.runUntil([&] { return events.gotData || events.closed; }, 1000);
            }
        }
    }
    if (!events.closed) ssl.CloseSSL();
    ssl.TearDown();
    return 0;
}

const CommandRegistration registration({
    "ssl2-test",
    "corva ssl2-test HOST PORT [--send TEXT] [--wait SECONDS]",
    "Open an SSL 2.0 session (RC4 128 with MD5) and print its events",
    "Runs the handshake with the server, prints each event of the session as it\n"
    "comes, sends TEXT once connected and prints what comes back, then closes.\n"
    "--wait is how long to wait for the handshake and for an answer (default 10).\n"
    "The exit status is 0 when the handshake finished, 1 when it did not.",
    run,
    true,
});

} // namespace
} // namespace corva::app
