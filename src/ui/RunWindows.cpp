#include "ui/RunWindows.h"

#include "app/Command.h"
#include "core/AppInfo.h"
#include "core/ErrorReport.h"
#include "cycle/frmMain.h"
#include "platform/qt/QtPlatform.h"
#include "ui/ErrorReportWindow.h"
#include "ui/Icons.h"
#include "ui/ScannerWindow.h"

#include <QApplication>

namespace corva::ui {

int RunWindows(int argc, char** argv) {
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Corva"));
    QApplication::setWindowIcon(appIcon());
    // Closing the scanner hides it to the tray; only Quit ends the program.
    QApplication::setQuitOnLastWindowClosed(false);
    platform::qt::QtPlatform platform;
    platform::ScopedPlatform installed(platform);
    SetAppPath(ChooseProgramFolder(app::HomeOption()));
    SetErrorReportHandler([](const std::string& text) { ErrorReportWindow::showerr(text); });

    ScannerWindow window;
    frmMain main(&window);
    window.attach(&main);
    frmMain::StartOptions options;
    QStringList args = app.arguments();
    for (int i = 1; i < args.size(); ++i) {
        if (args[i] == QLatin1String("--home")) {
            ++i;
            continue;
        }
        if (!options.commandLine.empty()) options.commandLine += " ";
        options.commandLine += args[i].toStdString();
    }
    main.StartProgram(options);
    // STARTMIN hides the window during start-up; otherwise it shows now.
    if (!window.hiddenAtStart()) window.show();
    int result = app.exec();
    if (!main.shutDown()) main.exitprog();
    SetErrorReportHandler({});
    return result;
}

} // namespace corva::ui
