// The refusal of a writing command while a window serves the program folder,
// apart from the hand-over so that the front program can use it without Qt.
#include "app/HandOver.h"

#include "core/AppInfo.h"
#include "instance/InstanceCheck.h"
#include "instance/frmRunner.h"
#include "platform/Platform.h"

namespace corva::app {

std::string RunningWindowRefusal(const std::string& command, const std::string& home) {
    const std::string folder = ChooseProgramFolder(home);
    auto channel = platform::current().createLocalChannel();
    if (!channel->served(RunnerChannelName(CurrentUserName(), folder))) return "";
    return "corva " + command + ": Corva's window is running on the program folder " + folder +
           ", and only it may change the settings and lists there. Make the change in the "
           "window, or quit Corva and try again; nothing was changed.";
}

} // namespace corva::app
