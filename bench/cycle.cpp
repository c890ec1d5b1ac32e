// Times a retrieving cycle of N messages (default 5,000) from a private
// Dovecot into the store, the path of "corva fetch": TOP, the rule check,
// RETR, the second check, the .eml file and the folder's tags. The reference
// is a minimal blocking client that only downloads: RETR each message and
// write it to a file; a second reference sends the same TOP before each RETR.
//
//   bench_cycle [N] [ROUNDS]
//
// With CORVA_BENCH_CYCLE_ONLY set only the cycle runs, for a profiler.
//
// Each side runs ROUNDS times (default 3) into an empty folder, alternating,
// and the best time of each is compared.
#include "BenchSupport.h"
#include "core/AppInfo.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "cycle/BlockingPop3.h"
#include "cycle/frmMain.h"
#include "platform/qt/QtPlatform.h"
#include "support/DovecotServer.h"

#include <QCoreApplication>

#include <algorithm>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <iostream>
#include <string>
#include <sys/resource.h>
#include <vector>

using namespace corva::bench;

namespace {

namespace fs = std::filesystem;

// A message of a few kilobytes with the headers a real one carries.
std::string makeMessage(int i) {
    std::string n = std::to_string(i);
    std::string text = "Return-Path: <sender" + n + "@example.com>\n" + "Received: from mail" +
                       std::to_string(i % 97) + ".example.net (mail.example.net [192.0.2." +
                       std::to_string(i % 250) + "])\n\tby mx.example.org with ESMTP id " + n +
                       "\n\tfor <user@example.org>; Tue, 3 Jun 2008 11:05:30 +0200\n" +
                       "From: \"Sender " + n + "\" <sender" + n + "@example.com>\n" +
                       "To: user@example.org\n" + "Subject: Message " + n +
                       " about the quarterly figures\n" + "Date: Tue, 3 Jun 2008 11:05:28 +0200\n" +
                       "Message-ID: <" + n + ".4711@example.com>\n" + "MIME-Version: 1.0\n" +
                       "Content-Type: text/plain; charset=us-ascii\n\n";
    for (int line = 0; line < 20 + i % 40; ++line)
        text += "Line " + std::to_string(line) + " of the body, long enough to look like text.\n";
    return text;
}

size_t filesIn(const std::string& folder) {
    size_t n = 0;
    for (const auto& e : fs::directory_iterator(folder))
        if (e.path().extension() == ".eml" || e.path().extension() == ".EML") ++n;
    return n;
}

void emptyFolder(const std::string& folder) {
    fs::remove_all(folder);
    fs::create_directories(folder);
}

double referenceCpu = 0, cycleCpu = 0;

// withTop asks TOP n 1 before each RETR, as the cycle's dialogue does, to
// show how much of the difference is the dialogue itself.
double reference(int port, int count, const std::string& folder, bool withTop) {
    emptyFolder(folder);
    double cpu = cpuSeconds();
    auto start = Clock::now();
    corva::test::BlockingPop3 pop;
    if (!pop.open(port, "bench", "secret")) throw std::runtime_error("reference: no login");
    for (int i = 1; i <= count; ++i) {
        if (withTop) {
            std::string head;
            pop.multi("TOP " + std::to_string(i) + " 1", head);
        }
        if (!pop.retrieveToFile(i, folder + std::to_string(i) + ".eml"))
            throw std::runtime_error("reference: RETR failed");
    }
    pop.quit();
    double s = secondsSince(start);
    referenceCpu = cpuSeconds() - cpu;
    if (filesIn(folder) != static_cast<size_t>(count))
        throw std::runtime_error("reference: files missing");
    return s;
}

double cycle(corva::frmMain& main, int count) {
    const std::string inbox = corva::MessageFolder + corva::InboxFolder + "/";
    emptyFolder(inbox);
    long savedBefore = main.MessagesSaved();
    double cpu = cpuSeconds();
    auto start = Clock::now();
    corva::CycleRequest request;
    request.accounts = corva::AccountSet::one(0);
    request.retrieve = true;
    main.checkmail(request);
    corva::platform::current().eventLoop().runUntil([&] { return !main.CycleRunning(); }, INT_MAX);
    double s = secondsSince(start);
    cycleCpu = cpuSeconds() - cpu;
    if (main.MessagesSaved() - savedBefore != count || filesIn(inbox) != static_cast<size_t>(count))
        throw std::runtime_error("cycle: stored " +
                                 std::to_string(main.MessagesSaved() - savedBefore) + " of " +
                                 std::to_string(count));
    return s;
}

} // namespace

int main(int argc, char** argv) {
    const int count = argc > 1 ? std::atoi(argv[1]) : 5000;
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 3;
    QCoreApplication app(argc, argv);
    corva::platform::qt::QtPlatform platform;
    corva::platform::ScopedPlatform installed(platform);
    if (!corva::test::DovecotServer::available()) {
        std::cerr << "Dovecot is not installed\n";
        return 1;
    }
    try {
        corva::test::DovecotServer server;
        server.addUser("bench", "secret");
        long long bytes = 0;
        for (int i = 1; i <= count; ++i) {
            std::string text = makeMessage(i);
            bytes += static_cast<long long>(text.size());
            server.addMessage("bench", text);
        }
        {
            // Dovecot indexes the mailbox at its first login; neither side pays for that.
            corva::test::BlockingPop3 warm;
            warm.open(server.port(), "bench", "secret");
            warm.count();
            warm.quit();
        }

        const fs::path home =
            fs::temp_directory_path() / ("corva-bench-cycle-" + std::to_string(::getpid()));
        fs::create_directories(home);
        corva::SetAppPath(home.string() + "/");
        corva::frmMain main(nullptr);
        corva::frmMain::StartOptions options;
        options.headless = true;
        options.autoScan = corva::frmMain::AutoScan::Off;
        main.StartProgram(options);
        corva::sset("SERVER0", server.address());
        corva::sset("UNAME0", "bench");
        corva::sset("PWD0", "secret");
        corva::sset("REPLYADDRESS0", "bench@example.org");
        corva::sset("MailTimeout", 60);

        const std::string refFolder = home.string() + "/reference/";
        double bestRef = 1e9, bestTop = 1e9, bestCycle = 1e9;
        // A shared disk can halve or double a run; the two sides of one round
        // meet the same weather, so the ratio within each round says more.
        std::vector<double> roundRatios;
        const bool cycleOnly = std::getenv("CORVA_BENCH_CYCLE_ONLY") != nullptr;
        for (int r = 0; r < rounds; ++r) {
            if (cycleOnly) {
                double cyc = cycle(main, count);
                bestCycle = std::min(bestCycle, cyc);
                std::printf("round %d: cycle %.3f s (%.3f s CPU)\n", r + 1, cyc, cycleCpu);
                continue;
            }
            double ref = reference(server.port(), count, refFolder, false);
            double top = reference(server.port(), count, refFolder, true);
            bestTop = std::min(bestTop, top);
            double cyc = cycle(main, count);
            std::printf("round %d: reference %.3f s (%.3f s CPU here), with TOP %.3f s, cycle %.3f "
                        "s (%.3f s CPU)\n",
                        r + 1, ref, referenceCpu, top, cyc, cycleCpu);
            bestRef = std::min(bestRef, ref);
            bestCycle = std::min(bestCycle, cyc);
            roundRatios.push_back(cyc / ref);
        }
        std::printf("messages: %d (%.1f MB)\n", count, bytes / 1048576.0);
        std::printf("cycle (TOP, check, RETR, check, store): %.3f s, %.0f messages/s\n", bestCycle,
                    count / bestCycle);
        if (!cycleOnly) {
            std::printf("reference (RETR to files): %.3f s, %.0f messages/s\n", bestRef,
                        count / bestRef);
            std::printf("reference with TOP before each RETR: %.3f s, %.0f messages/s\n", bestTop,
                        count / bestTop);
            std::printf("ratio cycle/reference: %.2f (target at most 1.20)\n", bestCycle / bestRef);
            std::printf("ratio cycle/reference with TOP: %.2f\n", bestCycle / bestTop);
            std::sort(roundRatios.begin(), roundRatios.end());
            std::printf("ratio within each round:");
            for (double r : roundRatios) std::printf(" %.2f", r);
            std::printf(" (median %.2f)\n", roundRatios[roundRatios.size() / 2]);
        }
        main.exitprog();
        fs::remove_all(home);
    } catch (const std::exception& e) {
        std::cerr << "bench_cycle: " << e.what() << "\n";
        return 1;
    }
    return 0;
}
