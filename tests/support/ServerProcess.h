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

// A socket listening on 127.0.0.1 on a free port, which goes into port; -1
// when none could be had.
int listenOnLoopback(int& port, int backlog = 4);
// A socket connected to 127.0.0.1:port; -1 when nothing listens there.
int connectToLoopback(int port);

// What a server on 127.0.0.1:port says first, "" when nothing answers in time.
std::string firstReply(int port);
// Waits up to 10 s for the server started as pid to greet on port with text
// starting with prefix; false when it exited or kept silent.
bool waitForGreeting(pid_t pid, int port, const std::string& prefix);

// Forks and execs binary with args (args[0] included); its output goes to
// errorsPath. Returns the child's pid, -1 when the fork failed.
pid_t startServerProcess(const std::string& binary, const std::vector<std::string>& args,
                         const std::string& errorsPath);

// Asks the process group to end, waits a while, then kills what is left.
void stopServerProcess(pid_t pid);

} // namespace corva::test
