#include "app/HandOver.h"

#include "core/AppInfo.h"
#include "instance/InstanceCheck.h"
#include "instance/frmRunner.h"
#include "platform/qt/QtPlatform.h"

#include <QCoreApplication>
#include <QDir>

#include <iostream>

namespace corva::app {

bool HandOverToRunningCopy(int argc, char** argv, const std::string& home,
                           const std::string& startLine) {
    // A core application only for the hand-over: the windows make their own.
    QCoreApplication app(argc, argv);
    platform::qt::QtPlatform qtPlatform;
    platform::ScopedPlatform installed(qtPlatform);
    const std::string channel = RunnerChannelName(CurrentUserName(), ChooseProgramFolder(home));
    const InstanceCheckResult check =
        InstanceCheck(startLine, channel, QDir::currentPath().toStdString());
    for (const std::string& line : check.log) std::cerr << "corva: " << line << "\n";
    if (check.busy) std::cerr << "corva: Corva is busy; it will open this as soon as it is free.\n";
    return check.endProcess;
}

} // namespace corva::app
