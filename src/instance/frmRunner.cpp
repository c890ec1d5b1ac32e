#include "instance/frmRunner.h"

#include "core/ErrorHandler.h"
#include "core/Strings.h"
#include "core/mSHAREDDelay.h"
#include "core/mSHAREDLogging.h"

#include <cctype>
#include <cstdio>

namespace corva {

namespace {
constexpr int TickMs = 100;
// The pause after acting, so that a window just opened settles before the next.
constexpr long SettleMs = 100;
} // namespace

std::string RunnerChannelName(const std::string& user, const std::string& programFolder) {
    // FNV-1a: short, stable across runs and builds, and fit for a file name.
    unsigned long long hash = 1469598103934665603ULL;
    std::string folder = programFolder;
    while (folder.size() > 1 && folder.back() == '/') folder.pop_back();
    for (unsigned char c : folder) {
        hash ^= c;
        hash *= 1099511628211ULL;
    }
    std::string safeUser;
    for (char c : user)
        if (std::isalnum(static_cast<unsigned char>(c)) || c == '_' || c == '-') safeUser += c;
    char hex[17];
    std::snprintf(hex, sizeof hex, "%016llx", hash);
    return "corva-" + (safeUser.empty() ? std::string("user") : safeUser) + "-" + hex;
}

frmRunner::frmRunner(RunnerEvents& events)
    : events_(events), channel_(platform::current().createLocalChannel()),
      TimerRunner_(platform::current().createTimer()) {
    channel_->setListener(this);
    TimerRunner_->setInterval(TickMs);
    TimerRunner_->setCallback([this] { TimerRunner_Timer(); });
}

frmRunner::~frmRunner() {
    TimerRunner_->setEnabled(false);
    channel_->setListener(nullptr);
}

bool frmRunner::Listen(const std::string& channelName) {
    return guardedValue("Listen", "frmRunner", false,
                        [&] { return channel_->listen(channelName); });
}

void frmRunner::channelData(int peer, const std::string& data) {
    guarded("channelData", "frmRunner", [&] {
        if (answered_.count(peer)) return; // one text per connection
        std::string& text = partial_[peer];
        text += data;
        const size_t end = text.find('\0');
        if (end == std::string::npos) {
            if (text.size() > RunnerWire::MaxText) {
                partial_.erase(peer);
                answered_.insert(peer);
                channel_->reply(peer, std::string(RunnerWire::Refused) + "\n");
            }
            return;
        }
        const std::string whole = text.substr(0, end);
        partial_.erase(peer);
        answered_.insert(peer);
        take(peer, whole);
    });
}

void frmRunner::channelClosed(int peer) {
    // A text cut off by a close is not acted on: it may be half a path.
    partial_.erase(peer);
    answered_.erase(peer);
}

void frmRunner::Hold(bool held) {
    held_ = held;
    TimerRunner_->setEnabled(!held_ && !queue_.empty() && txtRunner_ == RunnerWire::Idle);
}

void frmRunner::take(int peer, const std::string& text) {
    const bool idle = !held_ && queue_.empty() && txtRunner_ == RunnerWire::Idle;
    queue_.push_back(text);
    channel_->reply(peer, std::string(idle ? RunnerWire::Idle : RunnerWire::Busy) + "\n");
    if (idle) TimerRunner_->setEnabled(true);
}

void frmRunner::TimerRunner_Timer() {
    TimerRunner_->setEnabled(false);
    if (queue_.empty() || held_) return;
    txtRunner_ = queue_.front();
    queue_.pop_front();
    guarded("TimerRunner_Timer", "frmRunner", [&] {
        DoEvents();
        LogAction("Command passed in: " + txtRunner_);
        DoEvents();
        const std::string text = Trim(txtRunner_);
        if (!text.empty() && text != RunnerWire::Show)
            events_.Runner_ShowMail(text);
        else
            events_.Runner_ShowWindow();
        WaitMs(SettleMs);
    });
    txtRunner_ = RunnerWire::Idle;
    DoEvents();
    if (!queue_.empty() && !held_) TimerRunner_->setEnabled(true);
}

} // namespace corva
