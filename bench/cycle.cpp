// Times "corva fetch" of N generated messages (default 6,000; see Corpus.h)
// from a private Dovecot into a fresh store: TOP, the rule check, RETR, the
// second check, the .eml file and the folder's tags. Beside it, on the same
// mailbox: a minimal blocking client that only downloads (RETR each message,
// write it to a file), the same with a TOP before each RETR, Python's poplib
// doing the same plain loop, and fetchmail handing each message to a one-line
// MDA (when installed; it is a reference only). Then the peak memory of a
// fetch and of a scan of 300 messages against N, from the child's rusage.
//
//   bench_cycle [N] [ROUNDS]
//
// Each side runs ROUNDS times (default 3), alternating, and medians are
// compared; fetchmail, the slowest by far, runs once.
// With CORVA_BENCH_CYCLE_ONLY set only the cycle runs, in this process, for a
// profiler. With CORVA_BENCH_SERVE set the mailbox is built and a program
// folder set up for it, and the benchmark waits for a line on its input, so
// that a fetch can be run by hand (under strace, say).
#include "BenchSupport.h"
#include "BlockingPop3.h"
#include "Corpus.h"
#include "core/AppInfo.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
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
#include <fstream>
#include <iostream>
#include <string>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

using namespace corva::bench;

namespace {

namespace fs = std::filesystem;

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

struct ChildRun {
    double seconds = 0;
    long peakKb = 0;
    int status = -1;
};

// Runs a program to its end with its output silenced; its peak memory is the
// child's own, not this process's.
ChildRun runChild(const std::vector<std::string>& args) {
    std::vector<char*> argv;
    for (const auto& a : args) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    ChildRun run;
    auto start = Clock::now();
    pid_t pid = ::fork();
    if (pid == 0) {
        FILE* null = std::fopen("/dev/null", "w");
        if (null) {
            ::dup2(::fileno(null), 1);
            if (!std::getenv("CORVA_BENCH_VERBOSE")) ::dup2(::fileno(null), 2);
        }
        ::execvp(argv[0], argv.data());
        ::_exit(127);
    }
    int status = 0;
    rusage usage{};
    ::wait4(pid, &status, 0, &usage);
    run.seconds = secondsSince(start);
    run.peakKb = usage.ru_maxrss;
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    return run;
}

double median(std::vector<double> values) {
    if (values.empty()) return 0;
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

void writeFile(const std::string& path, const std::string& text, fs::perms perms) {
    std::ofstream(path, std::ios::binary | std::ios::trunc) << text;
    fs::permissions(path, perms);
}

// A program folder holding only the account, as a first fetch finds it.
std::string freshHome(const fs::path& root, const std::string& address, const std::string& user) {
    const fs::path home = root / ("home-" + user);
    fs::remove_all(home);
    fs::create_directories(home);
    writeFile((home / "Corva.ini").string(),
              "MAILTIMEOUT,60\r\nPWD0,secret\r\nREPLYADDRESS0,bench@example.org\r\nSERVER0," +
                  address + "\r\nUNAME0," + user + "\r\n",
              fs::perms::owner_read | fs::perms::owner_write);
    return home.string();
}

ChildRun corvaRun(const fs::path& root, const std::string& address, const std::string& user,
                  const char* command, int expected) {
    const std::string home = freshHome(root, address, user);
    ChildRun run = runChild(
        {std::string(CORVA_BINARY_DIR) + "/src/app/corva", command, "--home", home, "--quiet"});
    if (run.status != 0) throw std::runtime_error(std::string("corva ") + command + " failed");
    if (std::string(command) == "fetch" &&
        filesIn(home + "/Messages/Inbox") != static_cast<size_t>(expected))
        throw std::runtime_error("corva fetch: files missing");
    return run;
}

ChildRun poplibRun(const fs::path& root, int port, int expected) {
    const std::string folder = (root / "poplib").string() + "/";
    emptyFolder(folder);
    ChildRun run = runChild({"python3", std::string(CORVA_SOURCE_DIR) + "/bench/poplib_retr.py",
                             "127.0.0.1", std::to_string(port), "bench", "secret", folder});
    if (run.status != 0 || filesIn(folder) != static_cast<size_t>(expected))
        throw std::runtime_error("poplib reference failed");
    return run;
}

bool haveProgram(const std::string& name) {
    return std::system(("command -v " + name + " >/dev/null 2>&1").c_str()) == 0;
}

// fetchmail keeps the mail on the server and hands each message to a shell
// that writes it to a file of its own.
ChildRun fetchmailRun(const fs::path& root, int port, int expected) {
    const std::string folder = (root / "fetchmail").string() + "/";
    emptyFolder(folder);
    const std::string mda = (root / "mda.sh").string();
    writeFile(mda, "#!/bin/sh\nexec cat > \"$1/$$.eml\"\n", fs::perms::owner_all);
    const std::string rc = (root / "fetchmailrc").string();
    writeFile(rc,
              "poll 127.0.0.1 service " + std::to_string(port) +
                  " protocol pop3 auth password uidl\n  user bench password secret is root here\n"
                  "  keep fetchall no rewrite sslproto '' mda \"" +
                  mda + " " + folder + "\"\n",
              fs::perms::owner_read | fs::perms::owner_write);
    fs::remove(root / "fetchids");
    ChildRun run =
        runChild({"fetchmail", "-f", rc, "-i", (root / "fetchids").string(), "--nosyslog",
                  "--nodetach", "--pidfile", (root / "fetchmail.pid").string()});
    if (filesIn(folder) != static_cast<size_t>(expected))
        throw std::runtime_error("fetchmail stored " + std::to_string(filesIn(folder)) + " of " +
                                 std::to_string(expected));
    return run;
}

} // namespace

int main(int argc, char** argv) {
    const int count = argc > 1 ? std::atoi(argv[1]) : 6000;
    const int rounds = argc > 2 ? std::atoi(argv[2]) : 3;
    const int small = std::min(300, count);
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
        server.addUser("small", "secret");
        long long bytes = 0;
        for (int i = 1; i <= count; ++i) {
            std::string text = realisticMessage(i);
            bytes += static_cast<long long>(text.size());
            server.addMessage("bench", text);
            if (i <= small) server.addMessage("small", text);
        }
        for (const char* user : {"bench", "small"}) {
            // Dovecot indexes the mailbox at its first login; neither side pays for that.
            corva::test::BlockingPop3 warm;
            warm.open(server.port(), user, "secret");
            warm.count();
            warm.quit();
        }
        std::printf("messages: %d (%.1f MB, %.1f KB each on average)\n", count,
                    static_cast<double>(bytes) / 1048576.0,
                    static_cast<double>(bytes) / 1024.0 / count);

        const fs::path root =
            fs::temp_directory_path() / ("corva-bench-cycle-" + std::to_string(::getpid()));
        fs::create_directories(root);

        if (std::getenv("CORVA_BENCH_SERVE")) {
            std::printf("program folder: %s\n(press Enter to stop the server)\n",
                        freshHome(root, server.address(), "bench").c_str());
            std::fflush(stdout);
            std::string line;
            std::getline(std::cin, line);
            fs::remove_all(root);
            return 0;
        }

        if (std::getenv("CORVA_BENCH_CYCLE_ONLY")) {
            const fs::path home = root / "in-process";
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
            for (int r = 0; r < rounds; ++r) {
                double cyc = cycle(main, count);
                std::printf("round %d: cycle %.3f s (%.3f s CPU), peak %ld kB\n", r + 1, cyc,
                            cycleCpu, peakKb());
            }
            main.exitprog();
            fs::remove_all(root);
            return 0;
        }

        const std::string refFolder = (root / "reference").string() + "/";
        std::vector<double> plain, withTop, poplib, fetch, fetchPeak;
        const bool python = haveProgram("python3");
        for (int r = 0; r < rounds; ++r) {
            plain.push_back(reference(server.port(), count, refFolder, false));
            withTop.push_back(reference(server.port(), count, refFolder, true));
            if (python) poplib.push_back(poplibRun(root, server.port(), count).seconds);
            ChildRun f = corvaRun(root, server.address(), "bench", "fetch", count);
            fetch.push_back(f.seconds);
            fetchPeak.push_back(static_cast<double>(f.peakKb));
            std::printf("round %d: plain RETR %.3f s, with TOP %.3f s, poplib %.3f s, corva fetch "
                        "%.3f s (peak %ld kB)\n",
                        r + 1, plain.back(), withTop.back(), python ? poplib.back() : 0.0,
                        f.seconds, f.peakKb);
            std::fflush(stdout);
        }
        const double fetchS = median(fetch);
        std::printf("corva fetch into a fresh store: %.3f s, %.0f messages/s\n", fetchS,
                    count / fetchS);
        std::printf("plain RETR loop (C++): %.3f s, speed ratio fetch/plain %.2f\n", median(plain),
                    median(plain) / fetchS);
        std::printf("plain RETR loop with TOP (C++): %.3f s, speed ratio %.2f\n", median(withTop),
                    median(withTop) / fetchS);
        if (python)
            std::printf("poplib RETR loop (Python): %.3f s, speed ratio fetch/poplib %.2f "
                        "(target at least 0.5)\n",
                        median(poplib), median(poplib) / fetchS);
        if (haveProgram("fetchmail")) {
            ChildRun fm = fetchmailRun(root, server.port(), count);
            std::printf("fetchmail with an MDA: %.3f s, speed ratio fetch/fetchmail %.2f (target "
                        "at least 4)\n",
                        fm.seconds, fm.seconds / fetchS);
        } else {
            std::printf("fetchmail is not installed: no fetchmail figure\n");
        }

        // Peak memory: the small mailbox's fetch and both scans run once each.
        ChildRun smallFetch = corvaRun(root, server.address(), "small", "fetch", small);
        const double bigPeak = median(fetchPeak);
        std::printf("fetch peak memory: %d messages %ld kB, %d messages %.0f kB, ratio %.2f "
                    "(target at most 1.2)\n",
                    small, smallFetch.peakKb, count, bigPeak,
                    bigPeak / static_cast<double>(smallFetch.peakKb));
        ChildRun smallScan = corvaRun(root, server.address(), "small", "scan", small);
        ChildRun bigScan = corvaRun(root, server.address(), "bench", "scan", count);
        if (count > small)
            std::printf("scan peak memory: %d messages %ld kB, %d messages %ld kB, %.2f kB per "
                        "listed message (target at most 3)\n",
                        small, smallScan.peakKb, count, bigScan.peakKb,
                        static_cast<double>(bigScan.peakKb - smallScan.peakKb) / (count - small));
        fs::remove_all(root);
    } catch (const std::exception& e) {
        std::cerr << "bench_cycle: " << e.what() << "\n";
        return 1;
    }
    return 0;
}
