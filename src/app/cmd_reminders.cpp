// "corva reminders list|add|remove": the events of reminders.ics.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "reminders/clsReminders.h"

#include <iostream>

namespace corva::app {
namespace {

constexpr const char* Usage =
    "corva reminders list | add --title TEXT --at WHEN [--repeat R] [--alarm MIN] | remove UID";

// Today's and the upcoming events as the scanner's header pane shows them.
class PaneLines : public RemindersEvents {
public:
    void TKL_TodaysEvents(const std::vector<std::string>& events) override {
        for (const auto& e : events) std::cout << "TODAY: " << terminalLine(e) << "\n";
    }
    void TKL_UpcomingEvents(const std::vector<std::string>& events) override {
        for (const auto& e : events) std::cout << "UPCOMING: " << terminalLine(e) << "\n";
    }
    void TKL_MailEvent(const std::string&, const std::string&, const std::string&) override {}
};

int list(clsReminders& reminders) {
    PaneLines pane;
    reminders.setListener(&pane);
    reminders.Scan();
    reminders.ShutDown();
    reminders.setListener(nullptr);
    const Calendar cal = reminders.Load();
    if (!cal.complete)
        std::cerr << reminders.FilePath()
                  << " could not be read in full; its events may be missing\n";
    for (const CalendarEvent& e : cal.events) {
        std::string alarms;
        for (int m : e.alarmMinutes) alarms += (alarms.empty() ? "" : ",") + std::to_string(m);
        std::cout << terminalLine(e.uid) << "\t" << clsReminders::FormatWhen(e.start, e.allDay)
                  << "\t"
                  << (e.rule.freq == Repeat::None ? "-" : clsReminders::RepeatName(e.rule.freq))
                  << "\t" << (alarms.empty() ? "-" : alarms) << "\t" << terminalLine(e.summary)
                  << "\n";
    }
    std::cout << cal.events.size() << (cal.events.size() == 1 ? " event" : " events") << "\n";
    return 0;
}

int run(CommandArgs& args) {
    const auto title = args.option("--title", "a text");
    const auto at = args.option("--at", "a date");
    const auto repeat = args.option("--repeat", "daily, weekly, monthly or yearly");
    const auto alarm = args.option("--alarm", "minutes");
    if (auto status = args.refused(Usage, 1, 2)) return *status;
    const auto& words = args.rest();
    const std::string verb = words.front();
    const bool adding = verb == "add" && words.size() == 1;
    if (!((verb == "list" && words.size() == 1) || adding ||
          (verb == "remove" && words.size() == 2)) ||
        (!adding && (title || at || repeat || alarm))) {
        std::cerr << "Usage: " << Usage << "\n";
        return 2;
    }
    CalendarEvent event;
    if (adding) {
        if (!title || Trim(*title).empty() || !at)
            return RefuseWith("reminders", "add needs --title and --at");
        auto start = clsReminders::ParseWhen(*at, event.allDay);
        if (!start)
            return RefuseWith("reminders", "\"" + terminalLine(*at) +
                                               "\" is no date (2026-11-24 or 2026-11-24 09:30)");
        auto rule = clsReminders::RepeatFromName(repeat.value_or("none"));
        if (!rule) return RefuseWith("reminders", "--repeat is daily, weekly, monthly or yearly");
        if (alarm) {
            const std::string a = Trim(*alarm);
            if (a.empty() || a.size() > 6 || a.find_first_not_of("0123456789") != std::string::npos)
                return RefuseWith("reminders", "--alarm is a number of minutes");
            event.alarmMinutes.push_back(std::stoi(a));
        }
        event.summary = Trim(*title);
        event.start = *start;
        event.end = event.allDay ? *start + 1440 : *start;
        clsReminders::SetRepeat(event, *rule);
    }

    HeadlessSession session;
    clsReminders reminders;
    reminders.setDataFolder(DataFolder);
    if (verb == "list") return list(reminders);
    std::string why;
    if (adding) {
        const std::string uid = reminders.AddEvent(event, why);
        if (uid.empty()) {
            std::cerr << why << "\n";
            return 1;
        }
        std::cout << uid << "\n";
        return 0;
    }
    if (!reminders.RemoveEvent(words[1], why)) {
        std::cerr << terminalLine(why) << "\n";
        return 1;
    }
    std::cout << "Removed " << terminalLine(words[1]) << "\n";
    return 0;
}

const CommandRegistration registration({
    "reminders",
    Usage,
    "List, add or remove the events of reminders.ics",
    "list prints today's events (TODAY:) and those of the next 7 days\n"
    "(UPCOMING:) as the scanner's header pane shows them, then every event:\n"
    "UID, start, repeat, alarm minutes, title, tab-separated.\n"
    "add writes a new event: --at is 2026-11-24 for a whole day or\n"
    "2026-11-24 09:30; --repeat daily|weekly|monthly|yearly; --alarm N mails a\n"
    "reminder to account 0's reply address N minutes before the start (the mail\n"
    "is spooled to the Outbox when the program or a command next starts, once\n"
    "a day at most). It prints the new event's UID.\n"
    "remove deletes the event with that UID.\n"
    "The file lives in the data folder; a calendar exported by another program\n"
    "may be copied there. A file that cannot be read in full is never rewritten.",
    run,
});

} // namespace
} // namespace corva::app
