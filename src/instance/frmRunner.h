// The running copy's end of the hand-over: a second start writes its command
// line into a local channel named for the user and the program folder, and
// this object acts on each text in turn. Only one copy runs per program folder.
#pragma once

#include "platform/Platform.h"

#include <deque>
#include <map>
#include <memory>
#include <set>
#include <string>

namespace corva {

// What the running copy is asked to do; frmMain's side of Runner_ShowMail and
// Runner_ShowWindow.
class RunnerEvents {
public:
    virtual ~RunnerEvents() = default;
    // text is trimmed: a mail link or the path of a message file.
    virtual void Runner_ShowMail(const std::string& text) = 0;
    virtual void Runner_ShowWindow() = 0;
};

// The channel's texts and answers. A second start writes its text and a NUL;
// the running copy answers with a line: Idle when it acts on the text at once,
// Busy when it has taken it and acts once the earlier ones are done.
namespace RunnerWire {
inline constexpr const char* Idle = "RUNNER";
inline constexpr const char* Busy = "BUSY";
inline constexpr const char* Refused = "REFUSED";
// What a start without arguments hands over.
inline constexpr const char* Show = "SHOW";
// A command line is short; anything longer is not a second start's.
inline constexpr size_t MaxText = 64 * 1024;
} // namespace RunnerWire

// The channel's name for a user and a program folder: two users, or two
// program folders of one user, each have a running copy of their own.
std::string RunnerChannelName(const std::string& user, const std::string& programFolder);

// Texts are acted on one at a time, on TimerRunner's tick, never inside the
// event that brought them, so a text that arrives while the copy is busy (an
// earlier text's window, a modal question) waits its turn instead of being lost.
//
//   state   | a text arrives                  | TimerRunner ticks
//   --------+---------------------------------+-------------------------------------
//   Idle    | queue it, answer Idle,          | queue empty: timer off. Otherwise
//           | timer on                        | timer off, take the first -> Acting
//   Acting  | queue it, answer Busy           | (the timer is off while acting)
//   Held    | queue it, answer Busy           | (the timer is off while held)
//
// Acting logs "Command passed in: ", raises the event, waits briefly and goes
// back to Idle, with the timer on when more texts wait. A new object is Held
// until its owner has finished starting.
class frmRunner : private platform::LocalChannelListener {
public:
    explicit frmRunner(RunnerEvents& events);
    ~frmRunner() override;
    frmRunner(const frmRunner&) = delete;
    frmRunner& operator=(const frmRunner&) = delete;

    // Serves the channel; false when a live copy serves it already.
    bool Listen(const std::string& channelName);
    // While held (from the start until start-up is done, and during shutdown)
    // texts are taken and answered Busy, and acted on once released.
    void Hold(bool held);
    // "RUNNER" when idle, else the text being acted on, as the hidden text box showed.
    const std::string& txtRunner() const { return txtRunner_; }
    size_t waiting() const { return queue_.size(); }

private:
    void channelData(int peer, const std::string& data) override;
    void channelClosed(int peer) override;
    void take(int peer, const std::string& text);
    void TimerRunner_Timer();

    RunnerEvents& events_;
    std::unique_ptr<platform::LocalChannel> channel_;
    std::unique_ptr<platform::Timer> TimerRunner_;
    std::map<int, std::string> partial_;
    std::set<int> answered_;
    std::deque<std::string> queue_;
    std::string txtRunner_ = RunnerWire::Idle;
    bool held_ = true;
};

} // namespace corva
