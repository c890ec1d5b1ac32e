// One running copy, across two processes: the window runs here offscreen and
// the corva executable is started beside it, as a desktop or a user would.
#include "UiFixture.h"
#include "core/mSHAREDLogging.h"
#include "ui/RunnerLink.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>

#include <algorithm>

namespace corva::test {
namespace {

class RecordingRunnerLink : public ui::RunnerLink {
public:
    using ui::RunnerLink::RunnerLink;
    void OpenComposer(const MailLink& link) override {
        composed.push_back(link.to + " | " + link.subject);
        ui::RunnerLink::OpenComposer(link);
    }
    std::vector<std::string> composed;
};

class RunnerTwoProcessTest : public ScannerFixture {
protected:
    void SetUp() override {
        ScannerFixture::SetUp();
        start();
        link = std::make_unique<RecordingRunnerLink>(*window, *main);
        ASSERT_TRUE(link->Listen(dir.path()));
        link->Started("");
    }
    void TearDown() override {
        link.reset();
        ScannerFixture::TearDown();
    }
    // Starts a second corva on the same program folder.
    std::unique_ptr<QProcess> secondStart(const QStringList& words, bool keepErrors = false) {
        auto process = std::make_unique<QProcess>();
        if (!keepErrors) process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        process->start(QStringLiteral(CORVA_BINARY_DIR "/src/app/corva"),
                       QStringList{QStringLiteral("--home"), QString::fromStdString(dir.path())} +
                           words);
        return process;
    }
    // Runs the event loop, as the first copy does, until the process ends; its exit code.
    int finished(QProcess& process, int timeoutMs = 20000) {
        platform::current().eventLoop().runUntil(
            [&] { return process.state() == QProcess::NotRunning; }, timeoutMs);
        return process.state() == QProcess::NotRunning &&
                       process.exitStatus() == QProcess::NormalExit
                   ? process.exitCode()
                   : -1;
    }
    bool until(const std::function<bool()>& done) {
        return platform::current().eventLoop().runUntil(done, 10000);
    }
    std::unique_ptr<RecordingRunnerLink> link;
};

TEST_F(RunnerTwoProcessTest, BareStartBringsTheWindowForwardAndQuickStartsAllLand) {
    window->hide();
    auto bare = secondStart({});
    EXPECT_EQ(finished(*bare), 0);
    EXPECT_TRUE(until([&] { return window->isVisible(); }));

    // Mail links hand over and end, never waiting for the composer they open.
    QElapsedTimer clock;
    clock.start();
    auto one = secondStart({QStringLiteral("mailto:one@b.test")});
    auto two = secondStart({QStringLiteral("/mailto:two@b.test?subject=Two")});
    EXPECT_EQ(finished(*one), 0);
    EXPECT_EQ(finished(*two), 0);
    EXPECT_LT(clock.elapsed(), 15000);
    ASSERT_TRUE(until([&] { return link->composed.size() == 2; }));
    std::sort(link->composed.begin(), link->composed.end());
    EXPECT_EQ(link->composed, (std::vector<std::string>{"one@b.test | ", "two@b.test | Two"}));
    EXPECT_TRUE(until([] {
        for (QWidget* w : QApplication::topLevelWidgets())
            if (w->isVisible() && w->inherits("corva::ui::EmailWindow")) return true;
        return false;
    }));
    FlushLog();
    EXPECT_NE(readFile(dir.file("log.txt")).find("Command passed in: mailto:one@b.test"),
              std::string::npos);
}

TEST_F(RunnerTwoProcessTest, WritingCommandsAreRefusedWhileTheWindowRuns) {
    auto block = secondStart(
        {QStringLiteral("block"), QStringLiteral("sender"), QStringLiteral("x@y.test")}, true);
    EXPECT_EQ(finished(*block), 1);
    EXPECT_TRUE(block->readAllStandardError().contains("window is running"));
    auto folders = secondStart({QStringLiteral("folders")});
    EXPECT_EQ(finished(*folders), 0);
}

} // namespace
} // namespace corva::test
