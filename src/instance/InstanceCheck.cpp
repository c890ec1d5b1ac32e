#include "instance/InstanceCheck.h"

#include "core/ErrorHandler.h"
#include "core/Strings.h"
#include "instance/frmRunner.h"
#include "platform/Platform.h"

#include <cstdlib>

namespace corva {

std::string CurrentUserName() {
    for (const char* name : {"USER", "LOGNAME"})
        if (const char* value = std::getenv(name); value && *value) return value;
    return "";
}

std::string HandOverText(const std::string& commandLine, const std::string& workingFolder) {
    const std::string text = Trim(commandLine);
    if (text.empty()) return RunnerWire::Show;
    if (InStrNoCase(text, "mailto:") > 0 || InStrNoCase(text, ".eml") == 0) return text;
    std::string path = Trim(Replace(text, "\"", ""));
    if (!StartsWith(path, "/") && !workingFolder.empty())
        path = workingFolder + (EndsWith(workingFolder, "/") ? "" : "/") + path;
    return path;
}

InstanceCheckResult InstanceCheck(const std::string& commandLine, const std::string& channelName,
                                  const std::string& workingFolder, int timeoutMs) {
    InstanceCheckResult result;
    try {
        const std::string text = HandOverText(commandLine, workingFolder);
        std::unique_ptr<platform::LocalChannel> channel = platform::current().createLocalChannel();
        const platform::HandOverResult sent =
            channel->handOver(channelName, text + std::string(1, '\0'), timeoutMs);
        if (!sent.delivered && sent.error.empty()) return result;
        if (!sent.delivered || sent.reply == RunnerWire::Refused) {
            result.log = {"Corva is running, but I couldn't set the msg name",
                          "Unable to find instance of Corva"};
            return result;
        }
        result.endProcess = true;
        // No answer in time: the running copy is stuck in something long, and
        // the text waits in the channel until it reads it.
        result.busy = sent.reply != RunnerWire::Idle;
    } catch (const std::exception& e) {
        result.log.push_back("Error running other instance: " + Str(errorNumber(e)) + " " +
                             e.what());
    }
    return result;
}

} // namespace corva
