// The program started without windows, for the commands: the start-up steps
// that the command line needs, in the program's order, and the shutdown in
// its order when the session ends.
#pragma once

#include <string>

namespace corva::app {

class HeadlessSession {
public:
    // Chooses the program folder (--home, $CORVA_HOME, XDG), writes the logs,
    // loads Paths.ini and Corva.ini and makes the mail folders.
    HeadlessSession();
    ~HeadlessSession();
    HeadlessSession(const HeadlessSession&) = delete;
    HeadlessSession& operator=(const HeadlessSession&) = delete;

    // True when Corva.ini was missing at start (a first run).
    bool firstRun() const { return firstRun_; }
    const std::string& programFolder() const { return programFolder_; }

private:
    std::string programFolder_;
    bool firstRun_ = false;
};

} // namespace corva::app
