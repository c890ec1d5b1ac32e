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

std::string RunningWindowRefusal(const std::string& command, const std::string& home) {
    const std::string folder = ChooseProgramFolder(home);
    auto channel = platform::current().createLocalChannel();
    if (!channel->served(RunnerChannelName(CurrentUserName(), folder))) return "";
    return "corva " + command + ": Corva's window is running on the program folder " + folder +
           ", and only it may change the settings and lists there. Make the change in the "
           "window, or quit Corva and try again; nothing was changed.";
}

} // namespace corva::app
