// The reminders as frmMain runs them: started and scanned at start-up, shut
// down at exit, their events shown in the header pane and mailed to the user.
#include "cycle/frmMainReminders.h"

#include "core/Account.h"
#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/ErrorReport.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDDelay.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "cycle/frmMain.h"
#include "localise/modLanguages.h"
#include "message/clsMessage.h"
#include "platform/Platform.h"
#include "smtp/frmSendMailWrapper.h"

namespace corva {

namespace {
const char* Module = "frmMain";

ReminderView& noView() {
    static ReminderView none;
    return none;
}
} // namespace

void ReminderLink::TKL_TodaysEvents(const std::vector<std::string>& events) {
    main_.TKL_TodaysEvents(events);
}
void ReminderLink::TKL_UpcomingEvents(const std::vector<std::string>& events) {
    main_.TKL_UpcomingEvents(events);
}
void ReminderLink::TKL_MailEvent(const std::string& subject, const std::string& alertId,
                                 const std::string& text) {
    main_.TKL_MailEvent(subject, alertId, text);
}

void frmMain::setReminderView(ReminderView* view) {
    reminderView_ = view;
}

void frmMain::startReminders() {
    try {
        tklLink_ = std::make_unique<ReminderLink>(*this);
        tkl_ = std::make_unique<clsReminders>();
        tkl_->setListener(tklLink_.get());
    } catch (const std::exception& e) {
        tkl_.reset();
        view_->SplashStatus(gettranslation("Could not start reminders"));
        DoEvents();
        showerrobj(e, "StartProgram", Module);
    }
}

void frmMain::scanReminders() {
    if (!tkl_) {
        LogAction("TKL didn't start");
        return;
    }
    LogAction("Starting TKL");
    tkl_->setDataFolder(DataFolder);
    LogAction("Scanning TKL events");
    tkl_->Scan();
}

void frmMain::shutDownReminders() {
    if (!tkl_) return;
    LogAction("Shutting down TKL");
    tkl_->ShutDown();
    tkl_->setListener(nullptr);
}

void frmMain::starttkl() {
    guarded("starttkl", Module, [&] {
        if (!tkl_) {
            platform::current().prompts().messageBox(
                gettranslation("TKL not available. TKLLIB.DLL not registered, please re-install "
                               "Corva to fix."));
            return;
        }
        LogAction("Starting TKL");
        if (tkl_->SettingsInitialised()) {
            LogAction("Setting TKL options");
            tkl_->setDataFolder(DataFolder);
            LogAction("Scanning events");
            tkl_->Scan();
            LogAction("Showing TKL");
            (reminderView_ ? *reminderView_ : noView()).ShowRemindersEditor();
        } else {
            LogAction("Unable to show TKL - could not initialise settings");
        }
    });
}

void frmMain::TKL_TodaysEvents(const std::vector<std::string>& events) {
    guarded("TKL_TodaysEvents", Module, [&] {
        ReminderView& view = reminderView_ ? *reminderView_ : noView();
        view.ClearHeaderPane();
        view.SetHeaderLabel("Events:");
        std::string reminders;
        for (const std::string& e : events) {
            view.AddHeaderText("TODAY: " + e + "\r\n");
            reminders += "TODAY: " + e + "\r\n";
        }
        if (!events.empty() && !remindersShown_) {
            remindersShown_ = true;
            view.ShowEventReminder(reminders);
        }
    });
    clearsentalerts();
}

void frmMain::TKL_UpcomingEvents(const std::vector<std::string>& events) {
    guarded("TKL_UpcomingEvents", Module, [&] {
        ReminderView& view = reminderView_ ? *reminderView_ : noView();
        for (const std::string& e : events) view.AddHeaderText("UPCOMING: " + e + "\r\n");
    });
}

void frmMain::TKL_MailEvent(const std::string& subject, const std::string& alertId,
                            const std::string& text) {
    guarded("TKL_MailEvent", Module, [&] {
        const std::string key = "TKLALERT_" + alertId;
        if (sget(key, false).toBool()) return;
        const std::string address = Account(0).replyAddress();
        if (address.empty()) {
            platform::current().prompts().messageBox(
                gettranslation("Cannot send Reminder mail. Account #1 must be configured to use "
                               "this feature"));
            return;
        }
        clsMessage message;
        message.MessageTo = message.To_Email = address;
        message.From = address;
        message.Subject = subject;
        message.MessageBody = text;
        message.FromAccount = 0;
        if (!fSendMail_ || fSendMail_->SpoolMessage(message, address, "TKL").empty()) return;
        sset(key, true);
    });
}

void frmMain::clearsentalerts() {
    guarded("clearsentalerts", Module, [&] {
        const std::string today = DateTime::today().format("yyyy-mm-dd");
        if (sget("TKLLastCleared", "").toText() == today) return;
        cSHAREDSettings& settings = Settings();
        for (int i = settings.SettingsCount(); i >= 1; --i)
            if (InStr(settings.SettingNameByIndex(i), "TKLALERT_") > 0) settings.DeleteSetting(i);
        sset("TKLLastCleared", today);
    });
}

} // namespace corva
