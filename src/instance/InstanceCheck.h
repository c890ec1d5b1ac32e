// The second start's end of the hand-over: give the command line to the
// running copy, if there is one, and say whether this process is to end.
#pragma once

#include <string>
#include <vector>

namespace corva {

struct InstanceCheckResult {
    // A running copy took the text: this process ends.
    bool endProcess = false;
    // It took it while busy with an earlier one, and acts once free.
    bool busy = false;
    // What went wrong on the way. The log belongs to the running copy, so the
    // caller shows these instead of writing them there.
    std::vector<std::string> log;
};

// The text a start hands over: "SHOW" for an empty command line; a message
// file's path without its quotes, made absolute against the folder the start
// was made in, since the running copy works elsewhere; a mail link as given.
std::string HandOverText(const std::string& commandLine, const std::string& workingFolder);

// The user the channel is named for: $USER, else $LOGNAME, else "".
std::string CurrentUserName();

// Hands the command line to whoever serves the channel. Nobody serving is the
// ordinary first start: no log, and the process starts.
InstanceCheckResult InstanceCheck(const std::string& commandLine, const std::string& channelName,
                                  const std::string& workingFolder, int timeoutMs = 1500);

} // namespace corva
