// What a long tool run (search, archive, import, export, merge) tells while it
// works and asks between files: its window shows the status and offers Stop,
// the command line rewrites one line and stops on Ctrl-C.
#pragma once

#include <string>

namespace corva {

class ToolListener {
public:
    virtual ~ToolListener() = default;
    virtual void Status(const std::string& text) { (void)text; }
    virtual void SetBusy(bool busy) { (void)busy; }
    // Asked after each file, once pending events have run; true ends the run
    // and keeps what was done.
    virtual bool StopRequested() { return false; }
};

} // namespace corva
