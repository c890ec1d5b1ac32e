// Times a header scan and a retrieve of the generated corpus over TLS (TLS from
// the first byte and STLS) against the same over a plain connection, each on
// a private Dovecot with a throw-away CA. The target: TLS within 1.3 times
// plain for both.
//
//   bench_tls [N]   (N messages, default 2000; best of three runs each)
#include "BenchSupport.h"
#include "Corpus.h"
#include "core/AppInfo.h"
#include "core/Globals.h"
#include "core/mSHAREDSettings.h"
#include "message/clsMessage.h"
#include "platform/qt/QtPlatform.h"
#include "pop3/frmGetMail.h"
#include "support/DovecotServer.h"
#include "support/TempDir.h"
#include "support/TestCertificates.h"

#include <QCoreApplication>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

using namespace corva::bench;

namespace {

class Counter : public corva::frmGetMailEvents {
public:
    void HeaderReceived(corva::clsMessage&) override { ++count; }
    void MessageReceived(corva::clsMessage&) override { ++count; }
    void POPError(const std::string& text) override { error = text; }
    void TimedOut(int) override { error = "timed out"; }
    void Finished() override { done = true; }
    int count = 0;
    bool done = false;
    std::string error;
};

// Seconds for one scan or retrieve of the whole mailbox.
double run(const std::string& server, int security, bool retrieve, int expected) {
    corva::sset("SERVER0", server);
    corva::sset("UNAME0", "bench");
    corva::sset("PWD0", "pw");
    corva::sset("POPSECURITY0", security);
    // Every retrieve stores anew: the ledger would skip what an earlier run stored.
    std::remove((corva::DataFolder + "Retrieved0.txt").c_str());
    Counter counter;
    corva::frmGetMail pop;
    pop.setListener(&counter);
    auto start = Clock::now();
    if (retrieve)
        pop.GetMessages(0, false, false);
    else
        pop.GetHeaders(0, false, false);
    corva::platform::current().eventLoop().runUntil([&] { return counter.done; }, INT_MAX);
    if (counter.count != expected)
        throw std::runtime_error(std::to_string(counter.count) + " of " + std::to_string(expected) +
                                 " " + counter.error);
    return secondsSince(start);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    corva::platform::qt::QtPlatform platform;
    corva::platform::ScopedPlatform installed(platform);
    const int n = argc > 1 ? std::atoi(argv[1]) : 2000;
    try {
        const auto& certs = corva::test::TestCertificates::get();
        if (!certs.ok()) throw std::runtime_error("openssl could not make the certificates");
        corva::test::TempDir home;
        home.makeProgramFolder();
        corva::SetAppPath(home.path());
        corva::UseDefaultFolders(home.path());
        // A retrieve writes each message into the message folder first.
        std::filesystem::create_directories(corva::MessageFolder);
        corva::test::DovecotServer plain;
        corva::test::DovecotServer secure(certs.good.chain, certs.good.key);
        for (auto* server : {&plain, &secure}) {
            server->addUser("bench", "pw");
            for (int i = 0; i < n; ++i) server->addMessage("bench", realisticMessage(i));
        }
        const std::string plainAt = "127.0.0.1:" + std::to_string(plain.port());
        const std::string implicitAt = "localhost:" + std::to_string(secure.securePort());
        const std::string stlsAt = "localhost:" + std::to_string(secure.port());
        bool met = true;
        for (bool retrieve : {false, true}) {
            double best[3] = {1e9, 1e9, 1e9};
            for (int round = 0; round < 3; ++round) {
                best[0] = std::min(best[0], run(plainAt, 0, retrieve, n));
                best[1] = std::min(best[1], run(implicitAt, 1, retrieve, n));
                best[2] = std::min(best[2], run(stlsAt, 2, retrieve, n));
            }
            const char* what = retrieve ? "retrieve" : "scan";
            std::printf("%-8s %d messages: plain %.3f s, TLS %.3f s (%.2fx), STLS %.3f s (%.2fx)\n",
                        what, n, best[0], best[1], best[1] / best[0], best[2], best[2] / best[0]);
            met = met && best[1] <= 1.3 * best[0] && best[2] <= 1.3 * best[0];
        }
        std::printf("target (TLS within 1.3x plain): %s\n", met ? "met" : "MISSED");
        return met ? 0 : 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bench_tls: %s\n", e.what());
        return 2;
    }
}
