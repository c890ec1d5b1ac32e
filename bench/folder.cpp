// Opens a folder of N generated messages the way the mailer does: first with
// no cache.csv (every header read), then through the cache, each followed by
// the population that feeds the list; then deletes 1,000 of them and moves
// 1,000 to another folder as the mailer's commands do. Prints times and memory.
//   bench_folder [N] [--keep]
#include "core/AppInfo.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDSettings.h"
#include "store/FolderCaches.h"
#include "store/clsCache.h"
#include "store/clsMailer.h"
#include "store/modFolders.h"
#include "store/modMailerActions.h"

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <set>
#include <string>
#include <sys/resource.h>
#include <unistd.h>

using namespace corva;
namespace fs = std::filesystem;

namespace {

double seconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - since).count();
}

long rssMB() {
    std::ifstream statm("/proc/self/statm");
    long pages = 0, resident = 0;
    statm >> pages >> resident;
    return resident * sysconf(_SC_PAGESIZE) / (1024 * 1024);
}

// Processor time of this process (user and system), which a busy machine
// doesn't inflate the way it does the wall clock.
double cpuSeconds() {
    rusage ru{};
    getrusage(RUSAGE_SELF, &ru);
    return static_cast<double>(ru.ru_utime.tv_sec + ru.ru_stime.tv_sec) +
           static_cast<double>(ru.ru_utime.tv_usec + ru.ru_stime.tv_usec) / 1e6;
}

long peakMB() {
    rusage ru{};
    getrusage(RUSAGE_SELF, &ru);
    return ru.ru_maxrss / 1024;
}

std::string loadAverage() {
    std::ifstream in("/proc/loadavg");
    std::string one;
    in >> one;
    return one + " on " + std::to_string(sysconf(_SC_NPROCESSORS_ONLN)) + " processors\n";
}

struct Counter : MailerListener {
    long added = 0, unread = -1;
    void AddMessage(clsMessage&, long, long) override { ++added; }
    void FinishedAddingMessages(long u, long) override { unread = u; }
};

void writeMessages(const std::string& folder, long n) {
    std::string pad(600, 'x');
    for (long i = 0; i < n; ++i) {
        bool read = i % 3 == 0;
        char name[64];
        std::snprintf(name, sizeof name, "message number %ld (101500-240301) .eml", i);
        std::string file = read ? name : std::string(name);
        if (!read)
            for (char& c : file) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
        std::ofstream out(folder + file, std::ios::binary);
        int day = 1 + static_cast<int>(i % 28);
        out << "Return-Path: <sender" << i << "@example.com>\r\n"
            << "Received: from mail.example.com by mx.example.org; Fri, 1 Mar 2024 10:15:00 "
               "+0000\r\n"
            << "From: Sender " << i << " <sender" << i << "@example.com>\r\n"
            << "To: Reader <reader@example.org>\r\n"
            << "Subject: Message number " << i << " about the quarterly figures\r\n"
            << "Date: Fri, " << day << " Mar 2024 10:15:00 +0000\r\n"
            << "Message-ID: <" << i << ".bench@example.com>\r\n"
            << "MIME-Version: 1.0\r\nContent-Type: text/plain; charset=us-ascii\r\n"
            << (read ? "X-Message-Read: 1\r\n" : "") << "X-Receive-Date: 2024-03-"
            << (day < 10 ? "0" : "") << day << " 10:15:00\r\n\r\n";
        for (int line = 0; line < 1 + static_cast<int>(i % 5); ++line) out << pad << "\r\n";
    }
}

std::set<std::string> names(const clsCache& c) {
    std::set<std::string> s;
    for (const auto& m : c) s.insert(m->Filename() + "|" + m->Subject);
    return s;
}

} // namespace

int main(int argc, char** argv) {
    long n = 50000;
    bool keep = false;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--keep") == 0)
            keep = true;
        else
            n = std::atol(argv[i]);
    }
    std::string home = (fs::temp_directory_path() / "corva-bench-XXXXXX").string();
    if (!mkdtemp(home.data())) return 1;
    home += "/";
    SetAppPath(home);
    readmessagefolder();
    std::string inbox = MessageFolder + "Inbox/";

    auto t = std::chrono::steady_clock::now();
    writeMessages(inbox, n);
    std::printf("folder of %ld messages written in %.2f s\n", n, seconds(t));
    long base = rssMB();

    clsMailer mailer;
    Counter first;
    mailer.setListener(&first);
    t = std::chrono::steady_clock::now();
    double cpu = cpuSeconds();
    clsCache fresh;
    fresh.fillcache(nullptr, inbox, "Inbox");
    double fill1 = seconds(t);
    mailer.PopulateFromCache(fresh, false);
    double open1 = seconds(t);
    double cpu1 = cpuSeconds() - cpu;
    std::printf("first open (no cache.csv): fillcache %.2f s, with population %.2f s "
                "(processor %.2f s), %ld rows, %ld unread, RSS %ld MB (+%ld)\n",
                fill1, open1, cpu1, first.added, first.unread, rssMB(), rssMB() - base);
    std::set<std::string> expected = names(fresh);
    fresh.Clear(false);

    Counter second;
    mailer.setListener(&second);
    long before = rssMB();
    t = std::chrono::steady_clock::now();
    cpu = cpuSeconds();
    clsCache cached;
    cached.fillcache(nullptr, inbox, "Inbox");
    double fill2 = seconds(t);
    mailer.PopulateFromCache(cached, false);
    double open2 = seconds(t);
    double cpu2 = cpuSeconds() - cpu;
    std::printf("cached open: fillcache %.2f s, with population %.2f s (processor %.2f s), %ld "
                "rows, %ld unread, RSS %ld MB (+%ld)\n",
                fill2, open2, cpu2, second.added, second.unread, rssMB(), rssMB() - before);
    bool same = names(cached) == expected && second.unread == first.unread;
    std::printf("cached open lists the same messages as the first: %s\n", same ? "yes" : "NO");

    // Delete and move of many selected rows, with the folder open as the mailer has it.
    cached.Clear(false);
    FolderCaches caches;
    caches.createcache(nullptr, inbox, "Inbox");
    auto some = [&](long from) {
        std::vector<std::string> files;
        for (long i = from; i < n && files.size() < 1000; ++i) {
            char name[64];
            std::snprintf(name, sizeof name, "message number %ld (101500-240301) .eml", i);
            // As the list knows them: an unread message's name is upper case.
            files.push_back(inbox + (i % 3 == 0 ? name : UCase(name)));
        }
        return files;
    };
    const std::vector<std::string> doomed = some(0);
    t = std::chrono::steady_clock::now();
    cpu = cpuSeconds();
    DeleteMessages(caches, inbox, doomed);
    std::printf("deleting %zu messages: %.0f ms (processor %.0f ms)\n", doomed.size(),
                seconds(t) * 1000, (cpuSeconds() - cpu) * 1000);
    const std::string target = inbox + "Keep/";
    fs::create_directories(target);
    const std::vector<std::string> moving = some(static_cast<long>(doomed.size()));
    t = std::chrono::steady_clock::now();
    cpu = cpuSeconds();
    MoveMessages(caches, inbox, target, moving);
    std::printf("moving %zu messages: %.0f ms (processor %.0f ms)\n", moving.size(),
                seconds(t) * 1000, (cpuSeconds() - cpu) * 1000);
    std::printf("peak memory %ld MB; load average now %s", peakMB(), loadAverage().c_str());

    if (!keep) fs::remove_all(home);
    return same && second.added == n ? 0 : 1;
}
