// The mailer window on a folder of N messages (50,000 by default), offscreen:
// how soon the first rows are painted after the click (with no cache.csv,
// from cache.csv, and from the cache in memory), the longest stall of the
// event loop while scrolling end to end and while sorting by each column,
// marking 1,000 rows read, and the peak memory.
//   bench_mailer [N]
#include "BenchSupport.h"
#include "Corpus.h"
#include "OffscreenBench.h"

#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/mSHAREDSettings.h"
#include "cycle/frmMain.h"
#include "mailer/frmMailer.h"
#include "support/TempDir.h"
#include "ui/MailerListModel.h"
#include "ui/MailerWindow.h"
#include "ui/ScannerWindow.h"

#include <QAbstractItemView>
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
#include <functional>
#include <iostream>

using namespace corva;

namespace {

// The first paint of the list's rows after a click: installed on every
// widget, it looks at paints of any list viewport that has rows.
class PaintWatch : public QObject {
public:
    PaintWatch() { qApp->installEventFilter(this); }
    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() != QEvent::Paint || painted) return false;
        auto* view = qobject_cast<QAbstractItemView*>(watched ? watched->parent() : nullptr);
        if (view && view->objectName() == QStringLiteral("messagelist") && view->model() &&
            view->model()->rowCount() > 0) {
            painted = true;
            firstAt = bench::secondsSince(start);
        }
        return false;
    }
    bool painted = false;
    double firstAt = -1;
    bench::Clock::time_point start = bench::Clock::now();
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
    bench::OffscreenBench offscreen(argc, argv);
    const int count = argc > 1 ? std::atoi(argv[1]) : 50000;

    test::TempDir dir;
    dir.makeProgramFolder();
    test::writeFile(dir.file("Corva.ini"), "DISABLEAUTOUPDATECHECK,TRUE\r\n");

    bench::StartedScanner started;
    ui::ScannerWindow& scanner = started.window;
    frmMain& main = started.main;

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

    // Opening: first rows painted after the click, and the whole list read.
    ui::MailerWindow* w = nullptr;
    PaintWatch* paints = nullptr;
    auto measure = [&](const char* label, const std::function<void()>& click) {
        if (paints) paints->painted = false;
        auto start = bench::Clock::now();
        double cpu = bench::cpuSeconds();
        double first = -1;
        // The paint of the first rows may come while the click still runs.
        QTimer poll;
        poll.setInterval(1);
        QObject::connect(&poll, &QTimer::timeout, [&] {
            if (first < 0 && paints && paints->painted) first = bench::secondsSince(start);
        });
        poll.start();
        click();
        double whole = bench::secondsSince(start);
        double cpuWhole = bench::cpuSeconds() - cpu;
        while (first < 0 && bench::secondsSince(start) < 30) QApplication::processEvents();
        poll.stop();
        std::printf("mailer: open %-24s first rows painted %4.0f ms, list complete %5.0f ms "
                    "(cpu %4.0f ms), %d rows\n",
                    label, (paints && paints->firstAt >= 0 ? paints->firstAt : first) * 1000,
                    whole * 1000, cpuWhole * 1000, w ? w->listModel().rowCount() : 0);
    };
    PaintWatch watch;
    paints = &watch;
    measure("cold, no cache.csv:", [&] {
        watch.start = bench::Clock::now();
        w = scanner.openMailer();
    });
    frmMailer& mailer = w->mailer();
    auto nodeOf = [&](const char* name) { return w->nodeItem(mailer.FindNode(name)); };
    auto clickInbox = [&] {
        w->folderTree().setCurrentItem(nodeOf("Outbox"));
        QApplication::processEvents();
        watch.painted = false;
        watch.firstAt = -1;
        watch.start = bench::Clock::now();
        w->folderTree().setCurrentItem(nodeOf("Inbox"));
    };
    measure("warm, cache in memory:", clickInbox);
    mailer.ClearAllCaches();
    mailer.Command("rescanfolders"); // reads the files, writes cache.csv afresh
    for (int i = 0; i < FolderCaches::CacheCount; ++i) {
        clsCache& c = mailer.Caches().Item(i);
        if (c.CacheFilled()) c.Clear(false);
    }
    measure("cold, from cache.csv:", clickInbox);

    // Scrolling end to end in 200 steps, each painted.
    {
        QScrollBar* bar = w->listView().verticalScrollBar();
        StallWatch stall;
        stall.start();
        auto start = bench::Clock::now();
        for (int step = 0; step <= 200; ++step) {
            bar->setValue(bar->minimum() + (bar->maximum() - bar->minimum()) * step / 200);
            w->listView().viewport()->repaint();
            QApplication::processEvents();
        }
        for (int step = 200; step >= 0; step -= 10) {
            bar->setValue(bar->minimum() + (bar->maximum() - bar->minimum()) * step / 200);
            QApplication::processEvents();
        }
        std::printf("mailer: scrolling end to end and back: %.0f ms, longest stall %lld ms\n",
                    bench::secondsSince(start) * 1000, static_cast<long long>(stall.stop()));
    }

    // Sorting by each column, ascending then descending.
    const char* names[] = {"icon", "from", "subject", "received", "sent", "size"};
    for (int column = 0; column < MailerColumnCount; ++column) {
        qint64 worst = 0;
        double cpuWorst = 0;
        for (int twice = 0; twice < 2; ++twice) {
            StallWatch stall;
            stall.start();
            double cpu = 0;
            QTimer::singleShot(0, [&] {
                double before = bench::cpuSeconds();
                w->listView().header()->sectionClicked(column);
                w->listView().viewport()->repaint();
                cpu = bench::cpuSeconds() - before;
            });
            for (int i = 0; i < 5; ++i) QApplication::processEvents();
            worst = std::max(worst, stall.stop());
            cpuWorst = std::max(cpuWorst, cpu);
        }
        std::printf("mailer: sort by %-8s longest stall %lld ms (the click and its paint: cpu "
                    "%.0f ms)\n",
                    names[column], static_cast<long long>(worst), cpuWorst * 1000);
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
