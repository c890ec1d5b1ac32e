// frmMain's side of the update check: TimerUpdateCheck, which fires once 30
// seconds after start and asks for a quiet check when one is due, and the
// updater's events (the status bar, handing a checked download to the system).
#pragma once

#include "updates/fSHAREDUpdater.h"

#include <memory>

namespace corva {

class DateTime;
class Variant;
class frmMainView;
namespace platform {
class Timer;
}

class UpdateCheckLink : private UpdaterEvents {
public:
    explicit UpdateCheckLink(frmMainView& view);
    ~UpdateCheckLink() override;

    // Enables TimerUpdateCheck; the window program does, a command never.
    void StartTimer();
    bool TimerEnabled() const;
    // Disables the timer, then checks quietly unless automatic checks are
    // off or the last check is less than a week old.
    void TimerUpdateCheck_Timer();
    // LastUpdateCheck is a day number, or in older files a date with "/";
    // absent, it counts as a week ago, so a new install checks at once.
    static bool UpdateCheckDue(const Variant& lastCheck, const DateTime& today);

    fSHAREDUpdater& Updater() { return updater_; }

private:
    void Updater_Status(const std::string& text) override;
    void Updater_InstallFile(const std::string& path) override;

    frmMainView& view_;
    fSHAREDUpdater updater_;
    std::unique_ptr<platform::Timer> TimerUpdateCheck_;
};

} // namespace corva
