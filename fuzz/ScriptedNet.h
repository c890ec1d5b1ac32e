// A network with a script for a server: every socket connects at once, and
// the script's replies arrive one data event each, in order, through the
// event loop. Waits never sleep: the clock jumps to the end of any wait that
// has nothing left to deliver, and idle timers fire, so a dialogue that the
// script leaves hanging times out in a few steps instead of in a minute.
#pragma once

#include "platform/Platform.h"

#include <chrono>
#include <deque>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace corva::fuzz {

class ScriptedSocket;
class ScriptedTimer;

class ScriptedNet : public platform::Platform,
                    private platform::EventLoop,
                    private platform::Clock {
public:
    explicit ScriptedNet(std::vector<std::string> replies);
    ~ScriptedNet() override;

    std::unique_ptr<platform::Socket> createSocket() override;
    std::unique_ptr<platform::Timer> createTimer() override;
    platform::EventLoop& eventLoop() override { return *this; }
    platform::Clock& clock() override { return *this; }

    // Delivers one event: a connection, a send report, the next reply, the
    // server's close after the last reply, else one tick of every running
    // timer. False when nothing at all is left to happen.
    bool step();

    // Bytes the client sent, all sockets together.
    const std::string& sent() const { return sent_; }

private:
    friend class ScriptedSocket;
    friend class ScriptedTimer;

    bool deliverPending();
    bool tickTimers();

    // EventLoop
    void yield() override { deliverPending(); }
    void sleepMs(int milliseconds) override;
    bool runUntil(const std::function<bool()>& done, int timeoutMs) override;
    // Clock
    std::chrono::system_clock::time_point now() const override { return now_; }
    int standardBiasMinutes() const override { return 0; }

    std::deque<std::string> replies_;
    std::deque<std::function<void()>> events_;
    std::set<ScriptedSocket*> sockets_;
    std::set<ScriptedTimer*> timers_;
    ScriptedSocket* talking_ = nullptr; // the socket the server's replies go to
    std::string sent_;
    std::chrono::system_clock::time_point now_;
    platform::ScopedPlatform installed_;
};

} // namespace corva::fuzz
