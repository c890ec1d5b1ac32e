#include "reminders/clsReminders.h"

#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "localise/modLanguages.h"

#include <algorithm>
#include <random>

namespace corva {

namespace {
const char* Module = "clsReminders";
constexpr WallMinutes Day = 1440;

long long dayOf(WallMinutes m) {
    return m / Day - (m % Day < 0 ? 1 : 0);
}

DateTime asDateTime(WallMinutes m) {
    int y, mo, d;
    CivilFromDays(dayOf(m), y, mo, d);
    const long long t = m - dayOf(m) * Day;
    return DateTime::fromParts(y, mo, d, static_cast<int>(t / 60), static_cast<int>(t % 60));
}

// A settings key holds letters, digits and a few marks only.
std::string keySafe(const std::string& text) {
    std::string out;
    for (char c : text) {
        const bool ok = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') ||
                        (c >= '0' && c <= '9') || c == '-' || c == '.' || c == '@';
        out += ok ? c : '_';
    }
    return out.substr(0, 120);
}

std::string freshUid() {
    static std::mt19937_64 random{std::random_device{}()};
    static const char* hex = "0123456789abcdef";
    std::string id;
    for (uint64_t n = random(), i = 0; i < 16; ++i, n >>= 4) id += hex[n & 15];
    return std::to_string(DateTime::now().toTimeT()) + "-" + id + "@corva";
}
} // namespace

clsReminders::clsReminders() {
    timer_ = platform::current().createTimer();
    timer_->setInterval(60000);
    timer_->setCallback([this] { guarded("Timer", Module, [&] { ScanAt(Now()); }); });
}

clsReminders::~clsReminders() {
    timer_->setEnabled(false);
}

std::string clsReminders::FilePath() const {
    if (dataFolder_.empty()) return FileName;
    return dataFolder_ + (dataFolder_.back() == '/' ? "" : "/") + FileName;
}

WallMinutes clsReminders::Now() {
    DateTime now = DateTime::now();
    return WallFromParts(now.year(), now.month(), now.day(), now.hour(), now.minute());
}

std::string clsReminders::WhenText(const CalendarEvent& e, WallMinutes at) {
    return asDateTime(at).format(e.allDay ? "ddd d mmm yyyy" : "ddd d mmm yyyy hh:mm");
}

std::string clsReminders::TodayText(const CalendarEvent& e, WallMinutes at) {
    std::string where = e.location.empty() ? "" : " (" + e.location + ")";
    if (e.allDay) return e.summary + where;
    return asDateTime(at).format("hh:mm") + " " + e.summary + where;
}

std::string clsReminders::UpcomingText(const CalendarEvent& e, WallMinutes at) {
    return asDateTime(at).format(e.allDay ? "ddd d mmm" : "ddd d mmm hh:mm") + " " + e.summary +
           (e.location.empty() ? "" : " (" + e.location + ")");
}

std::string clsReminders::AlertId(const CalendarEvent& e, WallMinutes at, int minutes) {
    return keySafe(e.uid.empty() ? e.summary : e.uid) + "_" +
           asDateTime(at).format("yyyymmddhhnn") + "_" + std::to_string(minutes);
}

std::optional<WallMinutes> clsReminders::ParseWhen(const std::string& text, bool& allDay) {
    const std::string t = Trim(text);
    auto num = [&](size_t at, size_t n, int lo, int hi) -> std::optional<int> {
        if (at + n > t.size()) return {};
        int v = 0;
        for (size_t i = at; i < at + n; ++i) {
            if (t[i] < '0' || t[i] > '9') return {};
            v = v * 10 + (t[i] - '0');
        }
        if (v < lo || v > hi) return {};
        return v;
    };
    auto y = num(0, 4, 1, 9999), mo = num(5, 2, 1, 12), d = num(8, 2, 1, 31);
    if (!y || !mo || !d || t.size() < 10 || t[4] != '-' || t[7] != '-') return {};
    int y2, m2, d2;
    CivilFromDays(DaysFromCivil(*y, *mo, *d), y2, m2, d2);
    if (d2 != *d) return {}; // 31 April and the like
    allDay = t.size() == 10;
    if (allDay) return WallFromParts(*y, *mo, *d);
    auto h = num(11, 2, 0, 23), mi = num(14, 2, 0, 59);
    if (t.size() != 16 || (t[10] != ' ' && t[10] != 'T') || t[13] != ':' || !h || !mi) return {};
    return WallFromParts(*y, *mo, *d, *h, *mi);
}

std::string clsReminders::FormatWhen(WallMinutes when, bool allDay) {
    return asDateTime(when).format(allDay ? "yyyy-mm-dd" : "yyyy-mm-dd hh:nn");
}

std::string clsReminders::RepeatName(Repeat repeat) {
    switch (repeat) {
    case Repeat::Daily:
        return "daily";
    case Repeat::Weekly:
        return "weekly";
    case Repeat::Monthly:
        return "monthly";
    case Repeat::Yearly:
        return "yearly";
    case Repeat::None:
        break;
    }
    return "";
}

std::optional<Repeat> clsReminders::RepeatFromName(const std::string& name) {
    for (Repeat r : {Repeat::None, Repeat::Daily, Repeat::Weekly, Repeat::Monthly, Repeat::Yearly})
        if (LCase(name) == RepeatName(r) || (r == Repeat::None && LCase(name) == "none")) return r;
    return {};
}

void clsReminders::SetRepeat(CalendarEvent& e, Repeat repeat) {
    if (repeat == e.rule.freq) return; // the rule as read, with its details, stays
    e.rule = RepeatRule{};
    e.rule.freq = repeat;
    e.ruleText = repeat == Repeat::None ? "" : "FREQ=" + UCase(RepeatName(repeat));
}

void clsReminders::Scan() {
    guarded("Scan", Module, [&] { ScanAt(Now()); });
}

void clsReminders::ScanAt(WallMinutes now) {
    // Without a calendar there is nothing to tell, and nothing is touched.
    if (!FileExists(FilePath())) return;
    const Calendar cal = Load();
    const long long today = dayOf(now);
    const WallMinutes dayStart = today * Day, dayEnd = dayStart + Day;
    struct Item {
        WallMinutes at;
        std::string text;
    };
    std::vector<Item> todays, upcoming;
    struct Alarm {
        WallMinutes at;
        std::string subject, id, text;
    };
    std::vector<Alarm> due;
    for (const CalendarEvent& e : cal.events) {
        guarded("ScanAt", Module, [&] {
            for (WallMinutes at : Occurrences(e, dayStart, dayEnd + UpcomingDays * Day)) {
                if (at < dayEnd)
                    todays.push_back({at, TodayText(e, at)});
                else
                    upcoming.push_back({at, UpcomingText(e, at)});
            }
            // An alarm is due from its time until its event is over, and at
            // least for the rest of the day it rang in, so a program started
            // later that day still tells of it.
            int earliest = 0;
            for (int m : e.alarmMinutes) earliest = std::max(earliest, m);
            for (WallMinutes at : Occurrences(e, now - 2 * Day, now + earliest + 1)) {
                const WallMinutes length = e.end - e.start;
                for (int m : e.alarmMinutes) {
                    const WallMinutes rings = at - m;
                    const WallMinutes over = std::max(at + length, (dayOf(rings) + 1) * Day);
                    if (rings > now || now >= over) continue;
                    std::string text = e.summary + "\r\n" + WhenText(e, at);
                    if (!e.location.empty()) text += "\r\n" + e.location;
                    if (!e.description.empty())
                        text += "\r\n\r\n" +
                                Replace(Replace(e.description, "\r\n", "\n"), "\n", "\r\n");
                    due.push_back({rings, "Reminder: " + e.summary, AlertId(e, at, m), text});
                }
            }
        });
    }
    auto byTime = [](const auto& a, const auto& b) { return a.at < b.at; };
    std::stable_sort(todays.begin(), todays.end(), byTime);
    std::stable_sort(upcoming.begin(), upcoming.end(), byTime);
    std::stable_sort(due.begin(), due.end(), byTime);
    std::vector<std::string> todayTexts, upcomingTexts;
    for (const Item& i : todays) todayTexts.push_back(i.text);
    for (const Item& i : upcoming) upcomingTexts.push_back(i.text);

    const bool fresh =
        today != lastDay_ || todayTexts != lastToday_ || upcomingTexts != lastUpcoming_;
    lastDay_ = today;
    lastToday_ = todayTexts;
    lastUpcoming_ = upcomingTexts;
    timer_->setEnabled(true);
    if (!listener_) return;
    if (fresh) {
        listener_->TKL_TodaysEvents(todayTexts);
        listener_->TKL_UpcomingEvents(upcomingTexts);
    }
    for (const Alarm& a : due) listener_->TKL_MailEvent(a.subject, a.id, a.text);
    if (fresh) listener_->TKL_AllEvents();
}

void clsReminders::ShutDown() {
    timer_->setEnabled(false);
    if (!listener_) return;
    listener_->TKL_ShutDownTKL();
    listener_->TKL_Closed();
}

Calendar clsReminders::Load() const {
    Calendar empty;
    return guardedValue("Load", Module, empty, [&] {
        const std::string path = FilePath();
        if (!FileExists(path)) return Calendar{};
        std::string text;
        if (!LoadTextFile(path, text)) {
            Calendar unread;
            unread.complete = false;
            return unread;
        }
        return ReadIcs(text);
    });
}

bool clsReminders::Save(const Calendar& cal, std::string& why) const {
    return guardedValue("Save", Module, false, [&] {
        if (!cal.complete) {
            why = FilePath() + gettranslation(" could not be read in full; it is left as it is");
            return false;
        }
        const std::string text = WriteIcs(cal);
        std::string old;
        if (FileExists(FilePath()) && LoadTextFile(FilePath(), old) && old == text) return true;
        if (!WriteFileExactly(FilePath(), text)) {
            why = gettranslation("Could not write ") + FilePath();
            return false;
        }
        return true;
    });
}

std::string clsReminders::AddEvent(CalendarEvent e, std::string& why) const {
    Calendar cal = Load();
    e.uid = freshUid();
    e.changed = true;
    e.raw.clear();
    const std::string uid = e.uid;
    cal.events.push_back(std::move(e));
    return Save(cal, why) ? uid : "";
}

bool clsReminders::UpdateEvent(const CalendarEvent& event, std::string& why) const {
    Calendar cal = Load();
    for (CalendarEvent& e : cal.events) {
        if (e.uid != event.uid) continue;
        std::string raw = e.raw; // the properties this program leaves alone
        e = event;
        e.raw = raw;
        e.changed = true;
        return Save(cal, why);
    }
    why = gettranslation("No event ") + event.uid;
    return false;
}

bool clsReminders::RemoveEvent(const std::string& uid, std::string& why) const {
    Calendar cal = Load();
    auto it = std::find_if(cal.events.begin(), cal.events.end(),
                           [&](const CalendarEvent& e) { return e.uid == uid; });
    if (it == cal.events.end()) {
        why = gettranslation("No event ") + uid;
        return false;
    }
    cal.events.erase(it);
    return Save(cal, why);
}

// ---------------------------------------------------------------------------

frmEventReminder::frmEventReminder(EventReminderView& view) : view_(view) {
    Timer1_ = platform::current().createTimer();
    Timer1_->setInterval(1000);
    Timer1_->setCallback([this] { Timer1_Timer(); });
}

frmEventReminder::~frmEventReminder() {
    Timer1_->setEnabled(false);
}

bool frmEventReminder::TimerEnabled() const {
    return Timer1_->enabled();
}

void frmEventReminder::cmdSleep_Click() {
    guarded("cmdSleep_Click", "frmEventReminder", [&] {
        sleepLength_ = static_cast<int>(std::clamp(Val(txtSleep), 0.0, 1440.0 * 7));
        view_.HideReminder();
        sleeping_ = true;
        seconds_ = 0;
        minutes_ = 0;
        Timer1_->setEnabled(true);
    });
}

void frmEventReminder::cmdClose_Click() {
    Timer1_->setEnabled(false);
    view_.UnloadReminder();
}

void frmEventReminder::Timer1_Timer() {
    if (!sleeping_) return;
    if (++seconds_ == 60) {
        seconds_ = 0;
        ++minutes_;
    }
    if (minutes_ >= sleepLength_) {
        Timer1_->setEnabled(false);
        sleeping_ = false;
        view_.ShowReminderInFront();
    }
}

} // namespace corva
