// How long the scanner window stops answering while a scan of 5,000 messages
// fills its list: a 10 ms timer records the gaps between its ticks, against a
// private Dovecot server. A gap far above 10 ms is time the user waited.
#include "OffscreenBench.h"

#include "core/mSHAREDSettings.h"
#include "cycle/frmMain.h"
#include "support/DovecotServer.h"
#include "support/TempDir.h"
#include "ui/ScannerListModel.h"
#include "ui/ScannerWindow.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QTimer>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <iostream>
#include <numeric>
#include <vector>

using namespace corva;

namespace {

// The main thread's own processor time: on a busy machine the wall-clock gaps
// include waits for a core, which this leaves out.
qint64 threadCpuMs() {
    timespec ts{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &ts);
    return static_cast<qint64>(ts.tv_sec) * 1000 + ts.tv_nsec / 1000000;
}

} // namespace

int main(int argc, char** argv) {
    bench::OffscreenBench offscreen(argc, argv);
    const int count = argc > 1 ? std::atoi(argv[1]) : 5000;

    if (!test::DovecotServer::available()) {
        std::cout << "ui_stall: Dovecot is not installed\n";
        return 0;
    }
    test::TempDir dir;
    dir.makeProgramFolder();
    test::writeFile(dir.file("Corva.ini"), "DISABLEAUTOUPDATECHECK,TRUE\r\n");
    // Every tenth sender is blocked, so the list shows both colours.
    test::writeFile(dir.file("Blocked.txt"), "junk@spam.test\r\n");
    test::DovecotServer server;
    server.addUser("ann", "secret");
    for (int i = 1; i <= count; ++i) {
        std::string from =
            i % 10 == 0 ? "junk@spam.test" : "friend" + std::to_string(i) + "@x.test";
        server.addMessage("ann", "From: " + from + "\nTo: ann@a.test\nSubject: message " +
                                     std::to_string(i) +
                                     "\nDate: Mon, 2 Jan 2023 10:00:00 +0000\nMessage-ID: <" +
                                     std::to_string(i) + "@bench>\n\nHello there.\n");
    }

    bench::StartedScanner started;
    ui::ScannerWindow& window = started.window;
    frmMain& main = started.main;
    sset("SERVER0", server.address());
    sset("UNAME0", "ann");
    sset("PWD0", "secret");
    sset("TITLE0", "Ann");
    sset("REPLYADDRESS0", "ann@a.test");
    sset("CHECK0", true);
    sset("MailTimeout", 30);
    // UI_STALL_HIDDEN=1 measures the same scan with the window hidden, to tell
    // what the drawing costs.
    const bool shown = !std::getenv("UI_STALL_HIDDEN");
    if (shown) window.show();
    QApplication::processEvents();

    std::vector<qint64> gaps;
    std::vector<int> linesAtGap;
    std::vector<qint64> cpuGaps;
    qint64 lastCpu = threadCpuMs();
    QElapsedTimer clock;
    QTimer ticker;
    ticker.setInterval(10);
    ticker.setTimerType(Qt::PreciseTimer);
    qint64 last = 0;
    QObject::connect(&ticker, &QTimer::timeout, [&] {
        qint64 now = clock.elapsed();
        gaps.push_back(now - last);
        linesAtGap.push_back(window.listModel().lineCount());
        qint64 cpu = threadCpuMs();
        cpuGaps.push_back(cpu - lastCpu);
        lastCpu = cpu;
        last = now;
    });

    clock.start();
    ticker.start();
    main.mnuScan_Click();
    offscreen.platform().eventLoop().runUntil([&] { return !main.CycleRunning(); }, 600000);
    const qint64 scanMs = clock.elapsed();
    ticker.stop();

    std::vector<qint64> sorted = gaps;
    std::sort(sorted.begin(), sorted.end());
    auto pct = [&](double p) {
        return sorted.empty() ? 0 : sorted[static_cast<size_t>(p * (sorted.size() - 1))];
    };
    long over100 = std::count_if(gaps.begin(), gaps.end(), [](qint64 g) { return g > 100; });
    std::printf("ui_stall: %d messages, %d list lines, window %s, scan %.2f s\n", count,
                window.listModel().lineCount(), shown ? "shown" : "hidden", scanMs / 1000.0);
    std::printf("ui_stall: timer gaps %zu, median %lld ms, p99 %lld ms, longest %lld ms, "
                "over 100 ms: %ld\n",
                gaps.size(), static_cast<long long>(pct(0.5)), static_cast<long long>(pct(0.99)),
                static_cast<long long>(sorted.empty() ? 0 : sorted.back()), over100);
    std::printf("ui_stall: main thread busy between ticks: longest %lld ms, total %.2f s\n",
                static_cast<long long>(
                    cpuGaps.empty() ? 0 : *std::max_element(cpuGaps.begin(), cpuGaps.end())),
                std::accumulate(cpuGaps.begin(), cpuGaps.end(), qint64(0)) / 1000.0);
    if (std::getenv("UI_STALL_DETAIL"))
        for (size_t i = 0; i < gaps.size(); ++i)
            if (gaps[i] > 30)
                std::printf("gap %lld ms at line %d\n", (long long)gaps[i], linesAtGap[i]);
    main.exitprog();
    return 0;
}
