// Times a header scan of N messages (default 10,000) on a private Dovecot
// through frmGetMail, the path of "corva scan", against a minimal blocking
// client doing the same USER, PASS, LIST, STAT, TOP dialogue, and measures the
// scan's peak memory at two sizes to show it does not grow with the mailbox.
//
//   bench_pop3_scan [N]
//
// Each Corva scan runs in a child process of its own, so that its peak
// memory is its own.
#include "core/AppInfo.h"
#include "core/Globals.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "message/clsMessage.h"
#include "platform/qt/QtPlatform.h"
#include "pop3/frmGetMail.h"
#include "support/DovecotServer.h"

#include <QCoreApplication>

#include <algorithm>
#include <arpa/inet.h>
#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <iostream>
#include <netinet/in.h>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point start) {
    return std::chrono::duration<double>(Clock::now() - start).count();
}

long peakKb() {
    rusage usage{};
    getrusage(RUSAGE_SELF, &usage);
    return usage.ru_maxrss;
}

// A message of a few kilobytes with the headers a real one carries.
std::string makeMessage(int i) {
    std::string n = std::to_string(i);
    std::string text = "Return-Path: <sender" + n +
                       "@example.com>\n"
                       "Received: from mail" +
                       std::to_string(i % 97) + ".example.net (mail.example.net [192.0.2." +
                       std::to_string(i % 250) + "])\n\tby mx.example.org with ESMTP id " + n +
                       "\n\tfor <user@example.org>; Tue, 3 Jun 2008 11:05:30 +0200\n"
                       "Received: from workstation (unknown [198.51.100.7]) by mail.example.net\n"
                       "\twith SMTP id A" +
                       n +
                       "; Tue, 3 Jun 2008 11:05:29 +0200\n"
                       "From: \"Sender " +
                       n + "\" <sender" + n +
                       "@example.com>\n"
                       "To: user@example.org\n"
                       "Subject: Message " +
                       n +
                       " about the quarterly figures\n"
                       "Date: Tue, 3 Jun 2008 11:05:28 +0200\n"
                       "Message-ID: <" +
                       n +
                       ".4711@example.com>\n"
                       "MIME-Version: 1.0\n"
                       "Content-Type: text/plain; charset=us-ascii\n"
                       "X-Mailer: Bench 1.0\n\n";
    for (int line = 0; line < 20 + i % 40; ++line)
        text += "Line " + std::to_string(line) + " of the body, long enough to look like text.\n";
    return text;
}

// ---------------------------------------------------------------------------
// The reference: a plain blocking client, one command and one reply at a time.

class BlockingClient {
public:
    explicit BlockingClient(int port) {
        fd_ = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in addr{};
        addr.sin_family = AF_INET;
        addr.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        addr.sin_port = htons(static_cast<uint16_t>(port));
        if (::connect(fd_, reinterpret_cast<sockaddr*>(&addr), sizeof addr) != 0)
            throw std::runtime_error("reference: cannot connect");
    }
    ~BlockingClient() { ::close(fd_); }

    std::string command(const std::string& line, bool multiLine) {
        std::string out = line + "\r\n";
        if (::send(fd_, out.data(), out.size(), 0) != static_cast<ssize_t>(out.size()))
            throw std::runtime_error("reference: send failed");
        return reply(multiLine);
    }

    std::string reply(bool multiLine) {
        std::string text;
        char buf[65536];
        for (;;) {
            size_t from = text.size() >= 4 ? text.size() - 4 : 0;
            ssize_t n = ::recv(fd_, buf, sizeof buf, 0);
            if (n <= 0) throw std::runtime_error("reference: connection closed");
            text.append(buf, static_cast<size_t>(n));
            if (!multiLine
                    ? text.find("\r\n") != std::string::npos
                    : (text.rfind("-ERR", 0) == 0 && text.find("\r\n") != std::string::npos) ||
                          text.find("\r\n.\r\n", from) != std::string::npos)
                return text;
        }
    }

private:
    int fd_ = -1;
};

// Messages per second.
double referenceScan(int port, const std::string& user, int expected) {
    auto start = Clock::now();
    BlockingClient c(port);
    c.reply(false);
    c.command("USER " + user, false);
    if (c.command("PASS pw", false).rfind("+OK", 0) != 0) throw std::runtime_error("refused");
    c.command("LIST", true);
    std::string stat = c.command("STAT", false);
    int count = std::atoi(stat.c_str() + 4);
    if (count != expected) throw std::runtime_error("reference: wrong count " + stat);
    for (int i = 1; i <= count; ++i) c.command("TOP " + std::to_string(i) + " 1", true);
    c.command("QUIT", false);
    return count / secondsSince(start);
}

// ---------------------------------------------------------------------------
// Corva's side, in a child process: "--corva PORT USER N" prints "rate peakKb".

class Counter : public corva::frmGetMailEvents {
public:
    void HeaderReceived(corva::clsMessage&) override { ++headers; }
    void POPError(const std::string& text) override { error = text; }
    void TimedOut(int) override { error = "timed out"; }
    void Finished() override { done = true; }
    int headers = 0;
    bool done = false;
    std::string error;
};

int corvaChild(int argc, char** argv) {
    int port = std::atoi(argv[2]);
    std::string user = argv[3];
    int expected = std::atoi(argv[4]);
    QCoreApplication app(argc, argv);
    corva::platform::qt::QtPlatform platform;
    corva::platform::ScopedPlatform installed(platform);

    std::string home =
        (std::filesystem::temp_directory_path() / ("corva-bench-" + std::to_string(::getpid())))
            .string() +
        "/";
    std::filesystem::create_directories(home + "Messages");
    corva::SetAppPath(home);
    corva::UseDefaultFolders(home);
    corva::sset("SERVER0", "127.0.0.1:" + std::to_string(port));
    corva::sset("UNAME0", user);
    corva::sset("PWD0", "pw");

    Counter counter;
    corva::frmGetMail pop;
    pop.setListener(&counter);
    auto start = Clock::now();
    pop.GetHeaders(0, false, false);
    platform.eventLoop().runUntil([&] { return counter.done; }, INT_MAX);
    double rate = counter.headers / secondsSince(start);
    std::filesystem::remove_all(home);
    if (counter.headers != expected) {
        std::cerr << "corva: " << counter.headers << " of " << expected << " headers "
                  << counter.error << "\n";
        return 1;
    }
    std::cout << rate << " " << peakKb() << "\n";
    return 0;
}

struct ChildResult {
    double rate = 0;
    long peakKb = 0;
};

ChildResult runCorva(int port, const std::string& user, int n) {
    std::string cmd = "/proc/" + std::to_string(::getpid()) + "/exe --corva " +
                      std::to_string(port) + " " + user + " " + std::to_string(n);
    FILE* p = ::popen(cmd.c_str(), "r");
    ChildResult r;
    if (!p || std::fscanf(p, "%lf %ld", &r.rate, &r.peakKb) != 2)
        throw std::runtime_error("corva child failed");
    ::pclose(p);
    return r;
}

double median(std::vector<double> v) {
    std::sort(v.begin(), v.end());
    return v[v.size() / 2];
}

} // namespace

int main(int argc, char** argv) {
    if (argc >= 5 && std::strcmp(argv[1], "--corva") == 0) return corvaChild(argc, argv);
    const int n = argc > 1 ? std::max(10, std::atoi(argv[1])) : 10000;
    const int small = std::max(10, n / 10);
    try {
        corva::test::DovecotServer dovecot;
        dovecot.addUser("big", "pw");
        dovecot.addUser("small", "pw");
        auto fill = Clock::now();
        for (int i = 1; i <= n; ++i) dovecot.addMessage("big", makeMessage(i));
        for (int i = 1; i <= small; ++i) dovecot.addMessage("small", makeMessage(i));
        std::printf("pop3_scan: %d + %d messages delivered in %.2f s\n", n, small,
                    secondsSince(fill));

        // The first login builds the server's indexes: not part of either figure.
        referenceScan(dovecot.port(), "big", n);
        referenceScan(dovecot.port(), "small", small);

        std::vector<double> reference, corvaRates;
        long peakBig = 0;
        for (int round = 0; round < 3; ++round) {
            reference.push_back(referenceScan(dovecot.port(), "big", n));
            ChildResult c = runCorva(dovecot.port(), "big", n);
            corvaRates.push_back(c.rate);
            peakBig = std::max(peakBig, c.peakKb);
        }
        ChildResult smallRun = runCorva(dovecot.port(), "small", small);

        // The best run is the one least disturbed by whatever else the machine does.
        double ref = median(reference), ours = median(corvaRates);
        double refBest = *std::max_element(reference.begin(), reference.end());
        double oursBest = *std::max_element(corvaRates.begin(), corvaRates.end());
        std::printf("pop3_scan: N = %d, 3 runs each    median       best\n", n);
        std::printf("  reference client  messages/s %10.0f %10.0f\n", ref, refBest);
        std::printf("  corva frmGetMail  messages/s %10.0f %10.0f\n", ours, oursBest);
        std::printf("  ratio corva/ref              %10.3f %10.3f   (target >= 0.9)\n", ours / ref,
                    oursBest / refBest);
        std::printf("  peak memory (ru_maxrss) of the corva scan:\n");
        std::printf("    N = %6d      %8ld kB\n", small, smallRun.peakKb);
        std::printf("    N = %6d      %8ld kB   (x%.2f for x%.0f messages)\n", n, peakBig,
                    static_cast<double>(peakBig) / static_cast<double>(smallRun.peakKb),
                    static_cast<double>(n) / small);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "pop3_scan: %s\n", e.what());
        return 1;
    }
    return 0;
}
