// What the fixtures that run a real server binary share: a free port on
// 127.0.0.1, the server started in its own process group (so stopping it
// takes its children too), its first reply, and files read whole.
#pragma once

#include <string>
#include <sys/types.h>
#include <vector>

namespace corva::test {

// A port nothing listens on right now, 0 when none could be had.
int freeLoopbackPort();

// What a server on 127.0.0.1:port says first, "" when nothing answers in time.
std::string firstReply(int port);

// Forks and execs binary with args (args[0] included); its output goes to
// errorsPath. Returns the child's pid, -1 when the fork failed.
pid_t startServerProcess(const std::string& binary, const std::vector<std::string>& args,
                         const std::string& errorsPath);

// Asks the process group to end, waits a while, then kills what is left.
void stopServerProcess(pid_t pid);

std::string readWholeFile(const std::string& path);

} // namespace corva::test
