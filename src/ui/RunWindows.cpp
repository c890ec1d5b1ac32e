#include "ui/RunWindows.h"

#include "core/AppInfo.h"
#include "core/ErrorReport.h"
#include "core/Startup.h"
#include "cycle/frmMain.h"
#include "instance/InstanceCheck.h"
#include "instance/frmRunner.h"
#include "platform/qt/QtPlatform.h"
#include "ui/ErrorReportWindow.h"
#include "ui/Icons.h"
#include "ui/LanguageWalker.h"
#include "ui/RemindersWindow.h"
#include "ui/RunnerLink.h"
#include "ui/ScannerWindow.h"

#include <QApplication>
#include <QDir>
#include <QMessageBox>
#include <QThread>
#include <QTimer>

#include <atomic>
#include <csignal>

namespace corva::ui {

namespace {
std::atomic<bool> g_stopRequested{false};
extern "C" void requestStop(int) {
    g_stopRequested = true;
}
// Another copy holds the folder but may still be starting, before it serves
// its channel: give it a few seconds to take the start line.
bool handOverOnceServed(const std::string& startLine) {
    const std::string channel = RunnerChannelName(CurrentUserName(), AppPath());
    for (int attempt = 0; attempt < 20; ++attempt) {
        if (InstanceCheck(startLine, channel, QDir::currentPath().toStdString()).endProcess)
            return true;
        QThread::msleep(250);
    }
    return false;
}
} // namespace

int RunWindows(int argc, char** argv, const std::string& home, const std::string& startLine) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Corva"));
    QApplication::setWindowIcon(appIcon());
    // Closing the scanner hides it to the tray; only Quit ends the program.
    QApplication::setQuitOnLastWindowClosed(false);
    platform::qt::QtPlatform platform;
    platform::ScopedPlatform installed(platform);
    SetAppPath(ChooseProgramFolder(home));
    // One writer per program folder: a second window would save over the first one's settings.
    FolderClaim claim = ClaimProgramFolder(AppPath());
    if (!claim.ok() && handOverOnceServed(startLine)) return 0;
    if (!claim.ok()) {
        QMessageBox::warning(nullptr, QStringLiteral("Corva"),
                             QString::fromStdString(claim.refusal));
        return 1;
    }
    SetErrorReportHandler([](const std::string& text) { ErrorReportWindow::showerr(text); });
    installLanguages();

    ScannerWindow window;
    frmMain main(&window);
    window.attach(&main);
    ScannerReminders reminders(window, main);
    main.setReminderView(&reminders);
    // Served before start-up, so that a second start meanwhile waits its turn
    // instead of finding nobody.
    RunnerLink runner(window, main);
    runner.Listen(AppPath());
    main.StartProgram(frmMain::StartOptions{});
    // STARTMIN hides the window during start-up; otherwise it shows now.
    if (!window.hiddenAtStart()) window.show();
    runner.Started(startLine);
    // A logout or kill ends the program through its own shutdown, so the
    // settings, contacts and log are saved as on Quit.
    std::signal(SIGTERM, requestStop);
    std::signal(SIGINT, requestStop);
    std::signal(SIGHUP, requestStop);
    QTimer stopWatch;
    QObject::connect(&stopWatch, &QTimer::timeout, &app, [&app] {
        if (g_stopRequested) app.quit();
    });
    stopWatch.start(250);
    int result = app.exec();
    // exitprog may be refused (mail left in the Outbox): then the program runs on.
    runner.Hold(true);
    while (!main.shutDown() && !main.exitprog()) {
        g_stopRequested = false;
        runner.Hold(false);
        result = app.exec();
        runner.Hold(true);
    }
    SetErrorReportHandler({});
    return result;
}

} // namespace corva::ui
