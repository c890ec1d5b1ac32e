// One running copy per program folder: a start that would open the windows
// hands its arguments to the copy already running, and a command that would
// change the folder under a running window is refused.
#pragma once

#include <string>

namespace corva::app {

// True when a running copy took the start line (nothing, a mail link or a
// message file): this process ends with 0. Prints what went wrong on the way.
bool HandOverToRunningCopy(int argc, char** argv, const std::string& home,
                           const std::string& startLine);

// For a command that writes: what to tell the user when a window runs on the
// program folder, "" when none does. Needs the platform installed.
std::string RunningWindowRefusal(const std::string& command, const std::string& home);

} // namespace corva::app
