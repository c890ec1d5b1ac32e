// The mailer window on a folder of N messages (50,000 by default), offscreen:
// how soon the first rows are painted after the click (with no cache.csv,
// from cache.csv, and from the cache in memory), the longest stall of the
// event loop while scrolling end to end and while sorting by each column,
// marking 1,000 rows read, and the peak memory.
//   bench_mailer [N]
#include "BenchSupport.h"
#include "Corpus.h"

#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/mSHAREDSettings.h"
#include "cycle/frmMain.h"
#include "mailer/frmMailer.h"
#include "platform/qt/QtPlatform.h"
#include "support/TempDir.h"
#include "ui/MailerListModel.h"
#include "ui/MailerWindow.h"
#include "ui/ScannerWindow.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QScrollBar>
#include <QTimer>
#include <QTreeView>
#include <QTreeWidget>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iostream>

using namespace corva;

namespace {

class PrintingPrompts : public platform::Prompts {
public:
    platform::Answer messageBox(const std::string& text, platform::Buttons, platform::Icon,
                                const std::string&) override {
        std::cerr << "prompt: " << text << "\n";
        return platform::Answer::Yes;
    }
    platform::PasswordReply askPassword(const std::string&) override { return {"", true, false}; }
    std::optional<std::string> inputBox(const std::string&, const std::string&,
                                        const std::string&) override {
        return std::nullopt;
    }
    void setCursor(platform::Cursor) override {}
};

// Counts paints of the list that show rows, so "shown" means painted.
class PaintWatch : public QObject {
public:
    PaintWatch(ui::MailerWindow& w) : w_(w) {}
    bool eventFilter(QObject*, QEvent* event) override {
        if (event->type() == QEvent::Paint && w_.listModel().rowCount() > 0 && !painted)
            painted = true;
        return false;
    }
    bool painted = false;

private:
    ui::MailerWindow& w_;
};

// The longest gap between the ticks of a 10 ms timer while work runs.
class StallWatch {
public:
    StallWatch() {
        ticker_.setInterval(10);
        ticker_.setTimerType(Qt::PreciseTimer);
        QObject::connect(&ticker_, &QTimer::timeout,
                         [this] { longest_ = std::max(longest_, clock_.restart()); });
    }
    void start() {
        longest_ = 0;
        clock_.start();
        ticker_.start();
    }
    qint64 stop() {
        ticker_.stop();
        return std::max(longest_, clock_.elapsed());
    }

private:
    QTimer ticker_;
    QElapsedTimer clock_;
    qint64 longest_ = 0;
};

} // namespace

int main(int argc, char** argv) {
    setenv("QT_QPA_PLATFORM", "offscreen", 0);
    QApplication app(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    platform::qt::QtPlatform platform;
    PrintingPrompts prompts;
    platform.setPrompts(&prompts);
    platform::ScopedPlatform installed(platform);
    const int count = argc > 1 ? std::atoi(argv[1]) : 50000;

    test::TempDir dir;
    dir.makeProgramFolder();
    test::writeFile(dir.file("Corva.ini"), "DISABLEAUTOUPDATECHECK,TRUE\r\n");

    ui::ScannerWindow scanner;
    frmMain main(&scanner);
    scanner.attach(&main);
    frmMain::StartOptions options;
    options.autoScan = frmMain::AutoScan::Off;
    main.StartProgram(options);

    // The folder: realistic headers, short bodies (the list reads only headers),
    // all unread, received over the last months.
    const std::string inbox = MessageFolder + "Inbox/";
    auto made = bench::Clock::now();
    for (int i = 1; i <= count; ++i) {
        std::string text = bench::realisticMessage(i);
        size_t blank = text.find("\r\n\r\n");
        std::string head = text.substr(0, blank + 2);
        char date[40];
        std::snprintf(date, sizeof date, "X-Receive-Date: 2026-%02d-%02d %02d:%02d:00\r\n",
                      1 + i % 10, 1 + i % 28, i % 24, i % 60);
        test::writeFile(inbox + "MESSAGE" + std::to_string(i) + ".EML",
                        head + date + "\r\n" + text.substr(blank + 4, 800));
    }
    std::printf("mailer: %d messages written in %.1f s\n", count, bench::secondsSince(made));

    ui::MailerWindow* w = scanner.openMailer();
    frmMailer& mailer = w->mailer();
    PaintWatch paints(*w);
    w->listView().viewport()->installEventFilter(&paints);
    app.processEvents();
    auto nodeOf = [&](const char* name) { return w->nodeItem(mailer.FindNode(name)); };

    // Opening: a click on Outbox, then on Inbox; first rows painted, then the whole list.
    auto click = [&](const char* label) {
        w->folderTree().setCurrentItem(nodeOf("Outbox"));
        app.processEvents();
        paints.painted = false;
        StallWatch stall;
        stall.start();
        auto start = bench::Clock::now();
        double cpu = bench::cpuSeconds();
        double first = -1;
        QTimer poll;
        poll.setInterval(1);
        QObject::connect(&poll, &QTimer::timeout, [&] {
            if (first < 0 && paints.painted) first = bench::secondsSince(start);
        });
        poll.start();
        w->folderTree().setCurrentItem(nodeOf("Inbox"));
        double whole = bench::secondsSince(start);
        while (first < 0 && bench::secondsSince(start) < 30) app.processEvents();
        poll.stop();
        stall.stop();
        std::printf("mailer: open %-22s first rows painted %.0f ms, list complete %.0f ms "
                    "(cpu %.0f ms), %ld rows\n",
                    label, first * 1000, whole * 1000, (bench::cpuSeconds() - cpu) * 1000,
                    static_cast<long>(w->listModel().rowCount()));
    };
    click("with no cache.csv:");
    click("from the memory cache:");
    mailer.ClearAllCaches();
    mailer.Command("rescanfolders"); // writes cache.csv afresh
    for (int i = 0; i < FolderCaches::CacheCount; ++i) {
        clsCache& c = MailerCaches().Item(i);
        if (c.CacheFilled()) c.Clear(false);
    }
    click("from cache.csv:");

    // Scrolling end to end in 200 steps, each painted.
    {
        QScrollBar* bar = w->listView().verticalScrollBar();
        StallWatch stall;
        stall.start();
        auto start = bench::Clock::now();
        for (int step = 0; step <= 200; ++step) {
            bar->setValue(bar->minimum() + (bar->maximum() - bar->minimum()) * step / 200);
            w->listView().viewport()->repaint();
            app.processEvents();
        }
        for (int step = 200; step >= 0; step -= 10) {
            bar->setValue(bar->minimum() + (bar->maximum() - bar->minimum()) * step / 200);
            app.processEvents();
        }
        std::printf("mailer: scrolling end to end and back: %.0f ms, longest stall %lld ms\n",
                    bench::secondsSince(start) * 1000, static_cast<long long>(stall.stop()));
    }

    // Sorting by each column, ascending then descending.
    const char* names[] = {"icon", "from", "subject", "received", "sent", "size"};
    for (int column = 0; column < MailerColumnCount; ++column) {
        qint64 worst = 0;
        for (int twice = 0; twice < 2; ++twice) {
            StallWatch stall;
            stall.start();
            QTimer::singleShot(0, [&] { w->listView().header()->sectionClicked(column); });
            for (int i = 0; i < 5; ++i) app.processEvents();
            worst = std::max(worst, stall.stop());
        }
        std::printf("mailer: sort by %-8s longest stall %lld ms\n", names[column],
                    static_cast<long long>(worst));
    }

    // Marking 1,000 selected rows read.
    {
        std::vector<long> rows;
        for (long r = 0; r < 1000 && r < mailer.RowCount(); ++r) rows.push_back(r);
        w->SelectRows(rows, 0);
        auto start = bench::Clock::now();
        double cpu = bench::cpuSeconds();
        mailer.markselectedReadUnread(true);
        std::printf("mailer: marking %zu rows read: %.0f ms (cpu %.0f ms)\n", rows.size(),
                    bench::secondsSince(start) * 1000, (bench::cpuSeconds() - cpu) * 1000);
    }

    std::printf("mailer: peak memory %ld MB, resident now %ld MB\n", bench::peakKb() / 1024,
                bench::residentKb() / 1024);
    main.exitprog();
    return 0;
}
