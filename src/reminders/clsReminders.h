// The reminder object: reads reminders.ics in the data folder and raises what
// is on today, what comes in the next days and the alarms that are due. It
// rescans once a minute while it runs, so alarms come when they are due.
#pragma once

#include "platform/Platform.h"
#include "reminders/IcsCalendar.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corva {

// The object's events, each handled by its owner.
class RemindersEvents {
public:
    virtual ~RemindersEvents() = default;
    virtual void TKL_TodaysEvents(const std::vector<std::string>& events) = 0;
    virtual void TKL_UpcomingEvents(const std::vector<std::string>& events) = 0;
    virtual void TKL_MailEvent(const std::string& subject, const std::string& alertId,
                               const std::string& text) = 0;
    virtual void TKL_AllEvents() {}
    virtual void TKL_ShutDownTKL() {}
    virtual void TKL_Closed() {}
};

class clsReminders {
public:
    static constexpr int UpcomingDays = 7;
    static constexpr const char* FileName = "reminders.ics";

    clsReminders();
    ~clsReminders();
    clsReminders(const clsReminders&) = delete;
    clsReminders& operator=(const clsReminders&) = delete;

    void setListener(RemindersEvents* listener) { listener_ = listener; }
    void setDataFolder(const std::string& folder) { dataFolder_ = folder; }
    const std::string& DataFolder() const { return dataFolder_; }
    // The object can work: it knows its data folder.
    bool SettingsInitialised() const { return !dataFolder_.empty(); }
    std::string FilePath() const;

    // Reads the file and raises today's events, the upcoming ones and the
    // alarms due now; then keeps rescanning every minute.
    void Scan();
    void ScanAt(WallMinutes now);
    // Stops the rescans; raises TKL_ShutDownTKL and TKL_Closed.
    void ShutDown();

    // The file, for the window and the command line. Load never fails: a
    // missing file is an empty calendar; one it cannot read has complete false.
    Calendar Load() const;
    // Writes the calendar when its text changed; refuses (false, with why)
    // when the file could not be read in full, so nothing in it is lost.
    bool Save(const Calendar& calendar, std::string& why) const;
    // A new event with a fresh UID, saved; the UID, or "" (and why).
    std::string AddEvent(CalendarEvent event, std::string& why) const;
    // Replaces the event of that UID (written from its fields) or removes it.
    bool UpdateEvent(const CalendarEvent& event, std::string& why) const;
    bool RemoveEvent(const std::string& uid, std::string& why) const;

    // The texts the events carry.
    static std::string TodayText(const CalendarEvent& event, WallMinutes occurrence);
    static std::string UpcomingText(const CalendarEvent& event, WallMinutes occurrence);
    static std::string AlertId(const CalendarEvent& event, WallMinutes occurrence, int minutes);
    static std::string WhenText(const CalendarEvent& event, WallMinutes occurrence);
    static WallMinutes Now();
    // "2026-11-24" (all day) or "2026-11-24 09:30"; nothing when neither.
    static std::optional<WallMinutes> ParseWhen(const std::string& text, bool& allDay);
    // "2026-11-24 09:30", or the date alone for an all-day event.
    static std::string FormatWhen(WallMinutes when, bool allDay);
    // "daily", "weekly", "monthly", "yearly" and "" for none; the rule an
    // event gets when its repeat is chosen anew.
    static std::string RepeatName(Repeat repeat);
    static std::optional<Repeat> RepeatFromName(const std::string& name);
    static void SetRepeat(CalendarEvent& event, Repeat repeat);

private:
    RemindersEvents* listener_ = nullptr;
    std::string dataFolder_;
    std::unique_ptr<platform::Timer> timer_;
    // What was raised last, so a rescan raises the lists only when they change.
    std::vector<std::string> lastToday_, lastUpcoming_;
    long long lastDay_ = -1;
};

// The reminder view of one set of today's events: shown, put to sleep for a
// number of minutes, then shown again in front.
class EventReminderView {
public:
    virtual ~EventReminderView() = default;
    virtual void HideReminder() = 0;
    virtual void ShowReminderInFront() = 0;
    virtual void UnloadReminder() = 0;
};

class frmEventReminder {
public:
    explicit frmEventReminder(EventReminderView& view);
    ~frmEventReminder();
    frmEventReminder(const frmEventReminder&) = delete;
    frmEventReminder& operator=(const frmEventReminder&) = delete;

    std::string txtReminders;
    std::string txtSleep = "10";

    void cmdSleep_Click();
    void cmdClose_Click();
    void Timer1_Timer();
    bool Sleeping() const { return sleeping_; }
    int SleepMinutes() const { return sleepLength_; }
    bool TimerEnabled() const;

private:
    EventReminderView& view_;
    std::unique_ptr<platform::Timer> Timer1_;
    bool sleeping_ = false;
    int sleepLength_ = 0;
    int seconds_ = 0;
    int minutes_ = 0;
};

} // namespace corva
