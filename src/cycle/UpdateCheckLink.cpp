#include "cycle/UpdateCheckLink.h"

#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/Variant.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "cycle/frmMainView.h"
#include "localise/modLanguages.h"
#include "platform/Platform.h"

#include <cmath>

namespace corva {

namespace {
constexpr const char* Module = "frmMain";
}

UpdateCheckLink::UpdateCheckLink(frmMainView& view)
    : view_(view), updater_(nullptr, this), TimerUpdateCheck_(platform::current().createTimer()) {
    TimerUpdateCheck_->setInterval(30000);
    TimerUpdateCheck_->setCallback([this] { TimerUpdateCheck_Timer(); });
}

UpdateCheckLink::~UpdateCheckLink() {
    TimerUpdateCheck_->setEnabled(false);
}

void UpdateCheckLink::StartTimer() {
    TimerUpdateCheck_->setEnabled(true);
}

bool UpdateCheckLink::TimerEnabled() const {
    return TimerUpdateCheck_->enabled();
}

bool UpdateCheckLink::UpdateCheckDue(const Variant& lastCheck, const DateTime& today) {
    const double day = std::floor(today.serial());
    double last = day - 7;
    if (!lastCheck.isEmpty()) {
        const std::string text = lastCheck.toText();
        if (text.find('/') != std::string::npos) {
            if (auto date = ParseDate(text)) last = std::floor(date->serial());
        } else {
            last = lastCheck.toNumber();
        }
    }
    return day - 7 >= last;
}

void UpdateCheckLink::TimerUpdateCheck_Timer() {
    TimerUpdateCheck_->setEnabled(false);
    guarded("TimerUpdateCheck_Timer", Module, [&] {
        if (sget("DisableAutoUpdateCheck", false).toBool()) {
            LogAction("Automatic update check is disabled");
            return;
        }
        if (UpdateCheckDue(sget("LastUpdateCheck"), DateTime::today()))
            updater_.CheckForUpdate(true);
    });
}

void UpdateCheckLink::Updater_Status(const std::string& text) {
    view_.SetStatusPanel(3, text);
}

void UpdateCheckLink::Updater_InstallFile(const std::string& path) {
    LogAction("Handing the update to the system: " + path);
    if (!platform::current().shell().open(path))
        platform::current().prompts().messageBox(
            gettranslation("The update could not be opened. It is saved as ") + path + ".",
            platform::Buttons::Ok, platform::Icon::Exclamation);
}

} // namespace corva
