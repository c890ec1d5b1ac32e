// Times a header scan and a retrieve of the generated corpus over TLS (TLS from
// the first byte and STLS) against the same over a plain connection, each on
// a private Dovecot with a throw-away CA. The target: TLS within 1.3 times
// plain for both. Secure sessions send their commands ahead of the replies;
// plain ones keep the lock-step dialogue, so the figures compare the two
// as users get them.
//
//   bench_tls [N]   (N messages, default 1500; median of five runs each)
//
// Wall time is what counts here and other work on the machine muddles it: on
// a busy machine run it as `chrt -f 20 bench_tls` (Dovecot inherits the
// priority), which gives the figures of an idle one.
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
#include <array>
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

// Processor seconds of this process (the client) in the last run.
double clientCpu = 0;

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
    const double cpuStart = cpuSeconds();
    if (retrieve)
        pop.GetMessages(0, false, false);
    else
        pop.GetHeaders(0, false, false);
    corva::platform::current().eventLoop().runUntil([&] { return counter.done; }, INT_MAX);
    if (counter.count != expected)
        throw std::runtime_error(std::to_string(counter.count) + " of " + std::to_string(expected) +
                                 " " + counter.error);
    clientCpu = cpuSeconds() - cpuStart;
    return secondsSince(start);
}

} // namespace

int main(int argc, char** argv) {
    QCoreApplication app(argc, argv);
    corva::platform::qt::QtPlatform platform;
    corva::platform::ScopedPlatform installed(platform);
    const int n = argc > 1 ? std::atoi(argv[1]) : 1500;
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
        constexpr int Rounds = 5;
        for (bool retrieve : {false, true}) {
            // Interleaved, so that a disturbance falls on all three alike.
            std::array<std::array<double, Rounds>, 3> times{}, cpu{};
            const std::string* at[3] = {&plainAt, &implicitAt, &stlsAt};
            for (int round = 0; round < Rounds; ++round)
                for (int i = 0; i < 3; ++i) {
                    times[i][round] = run(*at[i], i, retrieve, n);
                    cpu[i][round] = clientCpu;
                }
            double median[3], cpuMedian[3];
            for (int i = 0; i < 3; ++i) {
                std::sort(times[i].begin(), times[i].end());
                std::sort(cpu[i].begin(), cpu[i].end());
                median[i] = times[i][Rounds / 2];
                cpuMedian[i] = cpu[i][Rounds / 2];
            }
            const char* what = retrieve ? "retrieve" : "scan";
            std::printf("%-8s %d messages, median (min-max) of %d: plain %.3f s (%.3f-%.3f), "
                        "TLS %.3f s (%.3f-%.3f) %.2fx, STLS %.3f s (%.3f-%.3f) %.2fx\n",
                        what, n, Rounds, median[0], times[0][0], times[0][Rounds - 1], median[1],
                        times[1][0], times[1][Rounds - 1], median[1] / median[0], median[2],
                        times[2][0], times[2][Rounds - 1], median[2] / median[0]);
            // What is not the client's processor time was spent waiting for the server.
            std::printf(
                "%-8s client processor time, median: plain %.3f s, TLS %.3f s, STLS %.3f s\n", what,
                cpuMedian[0], cpuMedian[1], cpuMedian[2]);
            met = met && median[1] <= 1.3 * median[0] && median[2] <= 1.3 * median[0];
        }
        std::printf("target (TLS within 1.3x plain): %s\n", met ? "met" : "MISSED");
        return met ? 0 : 1;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "bench_tls: %s\n", e.what());
        return 2;
    }
}
