#include "reminders/IcsCalendar.h"

#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "platform/TimeZone.h"

#include <algorithm>
#include <charconv>
#include <set>

namespace corva {

namespace {
const char* Module = "IcsCalendar";

// No rule may cost more than this many periods, whatever it asks for.
constexpr long MaxPeriods = 200000;
constexpr WallMinutes Day = 1440;

bool isLeap(int y) {
    return (y % 4 == 0 && y % 100 != 0) || y % 400 == 0;
}
int daysInMonth(int y, int m) {
    static const int days[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    return m == 2 && isLeap(y) ? 29 : days[m - 1];
}

std::string upper(std::string s) {
    for (char& c : s)
        if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 32);
    return s;
}

bool digits(const std::string& s, size_t at, size_t n, int& out) {
    if (at + n > s.size()) return false;
    out = 0;
    for (size_t i = at; i < at + n; ++i) {
        if (s[i] < '0' || s[i] > '9') return false;
        out = out * 10 + (s[i] - '0');
    }
    return true;
}

std::optional<long long> number(const std::string& s) {
    long long v = 0;
    const char* b = s.data();
    if (!s.empty() && s[0] == '+') ++b;
    auto [p, ec] = std::from_chars(b, s.data() + s.size(), v);
    if (ec != std::errc() || p != s.data() + s.size() || b == s.data() + s.size()) return {};
    return v;
}

// One logical line, unfolded, with the physical text it came from.
struct Line {
    std::string name; // upper case
    std::string params;
    std::string value;
    std::string raw;
};

std::string param(const std::string& params, const std::string& key) {
    // params is ";K=V;K2=\"V2\"" as read.
    size_t at = 0;
    while (at < params.size()) {
        size_t next = at + 1;
        bool quoted = false;
        while (next < params.size() && (quoted || params[next] != ';')) {
            if (params[next] == '"') quoted = !quoted;
            ++next;
        }
        std::string part = params.substr(at + 1, next - at - 1);
        size_t eq = part.find('=');
        if (eq != std::string::npos && upper(part.substr(0, eq)) == key) {
            std::string v = part.substr(eq + 1);
            if (v.size() >= 2 && v.front() == '"' && v.back() == '"') v = v.substr(1, v.size() - 2);
            return v;
        }
        at = next;
    }
    return "";
}

std::vector<Line> splitLines(const std::string& text) {
    std::vector<Line> lines;
    size_t at = 0;
    while (at < text.size()) {
        size_t nl = text.find('\n', at);
        size_t stop = nl == std::string::npos ? text.size() : nl + 1;
        std::string physical = text.substr(at, stop - at);
        std::string content = physical;
        while (!content.empty() && (content.back() == '\n' || content.back() == '\r'))
            content.pop_back();
        if (!lines.empty() && !content.empty() && (content[0] == ' ' || content[0] == '\t')) {
            lines.back().value += content.substr(1);
            lines.back().raw += physical;
        } else if (!content.empty()) {
            Line l;
            l.value = content; // split below, once the line is whole
            l.raw = physical;
            lines.push_back(std::move(l));
        }
        at = stop;
    }
    for (Line& l : lines) {
        const std::string whole = std::move(l.value);
        size_t i = 0;
        while (i < whole.size() && whole[i] != ';' && whole[i] != ':') ++i;
        l.name = upper(whole.substr(0, i));
        size_t paramsStart = i;
        bool quoted = false;
        while (i < whole.size() && (quoted || whole[i] != ':')) {
            if (whole[i] == '"') quoted = !quoted;
            ++i;
        }
        l.params = whole.substr(paramsStart, i - paramsStart);
        l.value = i < whole.size() ? whole.substr(i + 1) : "";
    }
    return lines;
}

WallMinutes localOf(long long utc) {
    const DateTime local = DateTime::fromTimeT(utc);
    return WallFromParts(local.year(), local.month(), local.day(), local.hour(), local.minute());
}

platform::WallTime wallTime(WallMinutes w) {
    platform::WallTime t;
    const long long days = w / Day - (w % Day < 0 ? 1 : 0);
    CivilFromDays(days, t.year, t.month, t.day);
    t.hour = static_cast<int>((w - days * Day) / 60);
    t.minute = static_cast<int>((w - days * Day) % 60);
    return t;
}

// A wall-clock time in a named zone as local time, and back; nothing when
// the zone is unknown.
std::optional<WallMinutes> zoneToLocal(const std::string& zone, WallMinutes w) {
    const auto utc = platform::timeZones().toUtc(zone, wallTime(w));
    if (!utc) return {};
    return localOf(*utc);
}

std::optional<WallMinutes> localToZone(const std::string& zone, WallMinutes w) {
    const platform::WallTime t = wallTime(w);
    const long long utc = DateTime::fromParts(t.year, t.month, t.day, t.hour, t.minute).toTimeT();
    const auto there = platform::timeZones().fromUtc(zone, utc);
    if (!there) return {};
    return WallFromParts(there->year, there->month, there->day, there->hour, there->minute);
}

// The reminders rescan every minute: an unknown zone is logged once a run.
void unknownZone(const std::string& zone) {
    static std::set<std::string> told;
    if (told.size() < 100 && told.insert(zone).second)
        LogAction("Unknown time zone " + zone + ": its times are read as local time");
}

bool utcZone(const std::string& tzid) {
    std::string z = upper(tzid);
    return z == "UTC" || z == "GMT" || z == "ETC/UTC" || z == "ETC/GMT" || z == "Z" ||
           z == "UTC+0" || z == "ZULU";
}

// A DATE or DATE-TIME value, as local time. A TZID names the zone of the
// wall-clock time (given back in zone when the zone is known); an unknown
// one is taken as the local zone, where exported calendars mostly come from.
std::optional<WallMinutes> parseWhen(const std::string& value, const std::string& params,
                                     bool& isDate, std::string* zone = nullptr) {
    int y, mo, d, h = 0, mi = 0, s = 0;
    if (!digits(value, 0, 4, y) || !digits(value, 4, 2, mo) || !digits(value, 6, 2, d)) return {};
    if (y < 1 || mo < 1 || mo > 12 || d < 1 || d > daysInMonth(y, mo)) return {};
    isDate = value.size() == 8 || upper(param(params, "VALUE")) == "DATE";
    if (isDate) return value.size() >= 8 ? std::optional(WallFromParts(y, mo, d)) : std::nullopt;
    if (value.size() < 15 || (value[8] != 'T' && value[8] != 't') || !digits(value, 9, 2, h) ||
        !digits(value, 11, 2, mi) || !digits(value, 13, 2, s))
        return {};
    if (h > 23 || mi > 59 || s > 60) return {};
    const bool z = value.size() > 15 && (value[15] == 'Z' || value[15] == 'z');
    const std::string tzid = param(params, "TZID");
    if (z || utcZone(tzid))
        return localOf(DaysFromCivil(y, mo, d) * 86400 + h * 3600 + mi * 60 + s);
    if (!tzid.empty()) {
        if (auto local = zoneToLocal(tzid, WallFromParts(y, mo, d, h, mi))) {
            if (zone) *zone = tzid;
            return local;
        }
        unknownZone(tzid);
    }
    return WallFromParts(y, mo, d, h, mi);
}

// "-P1DT2H30M" and kin, in minutes.
std::optional<long long> parseDuration(const std::string& text) {
    size_t i = 0;
    long long sign = 1;
    if (i < text.size() && (text[i] == '+' || text[i] == '-')) sign = text[i++] == '-' ? -1 : 1;
    if (i >= text.size() || upper(text.substr(i, 1)) != "P") return {};
    ++i;
    long long seconds = 0;
    bool inTime = false, any = false;
    while (i < text.size()) {
        char c = static_cast<char>(std::toupper(static_cast<unsigned char>(text[i])));
        if (c == 'T') {
            inTime = true;
            ++i;
            continue;
        }
        size_t startDigits = i;
        long long n = 0;
        while (i < text.size() && text[i] >= '0' && text[i] <= '9' && i - startDigits < 9)
            n = n * 10 + (text[i++] - '0');
        if (i == startDigits || i >= text.size()) return {};
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(text[i++])));
        if (c == 'W' && !inTime)
            seconds += n * 604800;
        else if (c == 'D' && !inTime)
            seconds += n * 86400;
        else if (c == 'H' && inTime)
            seconds += n * 3600;
        else if (c == 'M' && inTime)
            seconds += n * 60;
        else if (c == 'S' && inTime)
            seconds += n;
        else
            return {};
        any = true;
    }
    if (!any) return {};
    return sign * (seconds / 60);
}

std::optional<int> weekdayCode(const std::string& code) {
    static const char* names[] = {"SU", "MO", "TU", "WE", "TH", "FR", "SA"};
    for (int i = 0; i < 7; ++i)
        if (upper(code) == names[i]) return i;
    return {};
}

std::vector<std::string> splitOn(const std::string& text, char sep) {
    std::vector<std::string> parts;
    size_t at = 0;
    while (true) {
        size_t next = text.find(sep, at);
        parts.push_back(text.substr(at, next == std::string::npos ? std::string::npos : next - at));
        if (next == std::string::npos) break;
        at = next + 1;
    }
    return parts;
}

RepeatRule parseRule(const std::string& text) {
    RepeatRule rule;
    for (const std::string& part : splitOn(text, ';')) {
        size_t eq = part.find('=');
        if (eq == std::string::npos) continue;
        const std::string key = upper(part.substr(0, eq));
        const std::string value = part.substr(eq + 1);
        if (key == "FREQ") {
            const std::string f = upper(value);
            rule.freq = f == "DAILY"     ? Repeat::Daily
                        : f == "WEEKLY"  ? Repeat::Weekly
                        : f == "MONTHLY" ? Repeat::Monthly
                        : f == "YEARLY"  ? Repeat::Yearly
                                         : Repeat::None;
        } else if (key == "INTERVAL") {
            if (auto n = number(value); n && *n >= 1)
                rule.interval = static_cast<int>(std::min(*n, 1000LL));
        } else if (key == "COUNT") {
            if (auto n = number(value); n && *n >= 1)
                rule.count = static_cast<int>(std::min(*n, 100000LL));
        } else if (key == "UNTIL") {
            bool isDate = false;
            if (auto u = parseWhen(value, "", isDate)) rule.until = isDate ? *u + Day - 1 : *u;
        } else if (key == "BYDAY") {
            for (const std::string& d : splitOn(value, ',')) {
                if (d.size() < 2) continue;
                auto wd = weekdayCode(d.substr(d.size() - 2));
                if (!wd) continue;
                RepeatRule::Day day{0, *wd};
                if (d.size() > 2) {
                    auto n = number(d.substr(0, d.size() - 2));
                    if (!n || *n == 0 || *n > 53 || *n < -53) continue;
                    day.ordinal = static_cast<int>(*n);
                }
                rule.byDay.push_back(day);
            }
        } else if (key == "BYMONTHDAY") {
            for (const std::string& d : splitOn(value, ','))
                if (auto n = number(d); n && *n != 0 && *n >= -31 && *n <= 31)
                    rule.byMonthDay.push_back(static_cast<int>(*n));
        }
    }
    return rule;
}

// The properties a changed event is written from; the rest is kept as read.
bool managed(const std::string& name) {
    static const char* names[] = {"UID",     "DTSTAMP",  "DTSTART",     "DTEND",
                                  "SUMMARY", "DURATION", "DESCRIPTION", "LOCATION",
                                  "RRULE",   "EXDATE",   "BEGIN",       "END"};
    return std::any_of(std::begin(names), std::end(names),
                       [&](const char* n) { return name == n; });
}

// The event of a VEVENT's lines (BEGIN and END included); nothing when it has
// no usable start.
std::optional<CalendarEvent> parseEvent(const std::vector<Line>& lines) {
    CalendarEvent e;
    std::optional<WallMinutes> end;
    std::optional<long long> duration;
    struct Trigger {
        long long offset = 0;
        bool related = false; // to the end
        std::optional<WallMinutes> at;
    };
    std::vector<Trigger> triggers;
    bool haveStart = false;
    int depth = 0; // 1 in the event itself, 2 in an alarm or other nested component
    bool inAlarm = false;
    for (const Line& l : lines) {
        if (l.name == "BEGIN") {
            ++depth;
            if (depth == 2) inAlarm = upper(l.value) == "VALARM";
            continue;
        }
        if (l.name == "END") {
            if (depth == 2) inAlarm = false;
            --depth;
            continue;
        }
        if (depth == 2 && inAlarm && l.name == "TRIGGER") {
            Trigger t;
            bool isDate = false;
            if (upper(param(l.params, "VALUE")) == "DATE-TIME") {
                t.at = parseWhen(l.value, l.params, isDate);
                if (!t.at) continue;
            } else if (auto d = parseDuration(l.value)) {
                t.offset = *d;
                t.related = upper(param(l.params, "RELATED")) == "END";
            } else {
                continue;
            }
            triggers.push_back(t);
        }
        if (depth != 1) continue;
        bool isDate = false;
        if (l.name == "UID")
            e.uid = l.value;
        else if (l.name == "SUMMARY")
            e.summary = IcsUnescape(l.value);
        else if (l.name == "DESCRIPTION")
            e.description = IcsUnescape(l.value);
        else if (l.name == "LOCATION")
            e.location = IcsUnescape(l.value);
        else if (l.name == "DTSTART") {
            if (auto s = parseWhen(l.value, l.params, isDate, &e.zone)) {
                e.start = *s;
                e.allDay = isDate;
                haveStart = true;
            }
        } else if (l.name == "DTEND") {
            end = parseWhen(l.value, l.params, isDate);
        } else if (l.name == "DURATION") {
            duration = parseDuration(l.value);
        } else if (l.name == "RRULE") {
            e.ruleText = l.value;
            e.rule = parseRule(l.value);
        } else if (l.name == "EXDATE") {
            for (const std::string& v : splitOn(l.value, ','))
                if (auto x = parseWhen(v, l.params, isDate)) e.exceptions.push_back(*x);
        }
    }
    if (!haveStart) return {};
    if (end && *end >= e.start)
        e.end = *end;
    else if (duration && *duration >= 0)
        e.end = e.start + *duration;
    else
        e.end = e.allDay ? e.start + Day : e.start;
    for (const Trigger& t : triggers) {
        long long before = t.at ? e.start - *t.at : -(t.offset + (t.related ? e.end - e.start : 0));
        // An alarm a year away from its event is no reminder of it.
        if (before >= -366 * Day && before <= 366 * Day)
            e.alarmMinutes.push_back(static_cast<int>(before));
    }
    return e;
}

std::string twoDigits(int n) {
    return std::string(1, static_cast<char>('0' + n / 10)) + static_cast<char>('0' + n % 10);
}

std::string formatWhen(WallMinutes when, bool date) {
    int y, mo, d;
    CivilFromDays(when / Day - (when % Day < 0 ? 1 : 0), y, mo, d);
    std::string text = std::to_string(y);
    while (text.size() < 4) text.insert(text.begin(), '0');
    text += twoDigits(mo) + twoDigits(d);
    if (date) return text;
    long long m = ((when % Day) + Day) % Day;
    return text + "T" + twoDigits(static_cast<int>(m / 60)) + twoDigits(static_cast<int>(m % 60)) +
           "00";
}

// Lines longer than 75 octets are folded, never inside a UTF-8 character.
std::string fold(const std::string& line) {
    std::string out;
    size_t at = 0;
    size_t width = 75;
    while (line.size() - at > width) {
        size_t cut = at + width;
        while (cut > at + 1 && (static_cast<unsigned char>(line[cut]) & 0xC0) == 0x80) --cut;
        out += line.substr(at, cut - at) + "\r\n ";
        at = cut;
        width = 74;
    }
    return out + line.substr(at) + "\r\n";
}

std::string writeEvent(const CalendarEvent& e) {
    std::string out = "BEGIN:VEVENT\r\n";
    out += fold("UID:" + e.uid);
    DateTime now = DateTime::now();
    {
        // DTSTAMP is UTC by definition.
        long long t = now.toTimeT();
        long long days = t / 86400 - (t % 86400 < 0 ? 1 : 0);
        long long secs = t - days * 86400;
        out += "DTSTAMP:" + formatWhen(days * Day + secs / 60, false) + "Z\r\n";
    }
    // Times go back in the event's own zone, so its repeats keep that clock.
    const std::string zoneParam =
        e.zone.find_first_of(":;,") == std::string::npos ? e.zone : "\"" + e.zone + "\"";
    auto when = [&](const char* name, WallMinutes w) {
        if (!e.zone.empty() && !e.allDay)
            if (auto there = localToZone(e.zone, w))
                return std::string(name) + ";TZID=" + zoneParam + ":" + formatWhen(*there, false) +
                       "\r\n";
        return std::string(name) + (e.allDay ? ";VALUE=DATE:" : ":") + formatWhen(w, e.allDay) +
               "\r\n";
    };
    out += when("DTSTART", e.start);
    if (e.end > e.start) out += when("DTEND", e.end);
    out += fold("SUMMARY:" + IcsEscape(e.summary));
    if (!e.description.empty()) out += fold("DESCRIPTION:" + IcsEscape(e.description));
    if (!e.location.empty()) out += fold("LOCATION:" + IcsEscape(e.location));
    if (e.rule.freq != Repeat::None && !e.ruleText.empty()) out += fold("RRULE:" + e.ruleText);
    for (WallMinutes x : e.exceptions) out += when("EXDATE", x);
    // What this program does not manage stays as it came.
    int depth = 0;
    for (const Line& l : splitLines(e.raw)) {
        if (l.name == "BEGIN") ++depth;
        if (depth == 1 && !managed(l.name)) out += l.raw.back() == '\n' ? l.raw : l.raw + "\r\n";
        if (l.name == "END") --depth;
    }
    for (int m : e.alarmMinutes) {
        out += "BEGIN:VALARM\r\nACTION:DISPLAY\r\n";
        out += fold("DESCRIPTION:" + IcsEscape(e.summary));
        out += std::string("TRIGGER:") + (m >= 0 ? "-" : "") + "PT" +
               std::to_string(m >= 0 ? m : -m) + "M\r\nEND:VALARM\r\n";
    }
    return out + "END:VEVENT\r\n";
}

Calendar readIcs(const std::string& text) {
    Calendar cal;
    std::vector<Line> lines = splitLines(text);
    bool seenCalendar = false;
    size_t i = 0;
    while (i < lines.size()) {
        if (!(lines[i].name == "BEGIN" && upper(lines[i].value) == "VCALENDAR")) {
            ++i;
            continue;
        }
        const bool first = !seenCalendar;
        seenCalendar = true;
        bool closed = false;
        for (++i; i < lines.size(); ++i) {
            const Line& l = lines[i];
            if (l.name == "END" && upper(l.value) == "VCALENDAR") {
                closed = true;
                ++i;
                break;
            }
            if (l.name != "BEGIN") {
                if (first) cal.head += l.raw;
                continue;
            }
            // One component, to its matching END.
            size_t from = i;
            int depth = 0;
            for (; i < lines.size(); ++i) {
                if (lines[i].name == "BEGIN") ++depth;
                if (lines[i].name == "END" && --depth == 0) break;
            }
            if (i >= lines.size()) break; // cut off inside the component
            std::vector<Line> block(lines.begin() + static_cast<long>(from),
                                    lines.begin() + static_cast<long>(i) + 1);
            std::string raw;
            for (const Line& b : block) raw += b.raw;
            if (!raw.empty() && raw.back() != '\n') raw += "\r\n";
            std::optional<CalendarEvent> e;
            if (upper(l.value) == "VEVENT") {
                e = parseEvent(block);
                if (!e) ++cal.skipped;
            }
            if (e) {
                e->raw = raw;
                cal.events.push_back(std::move(*e));
            } else {
                cal.other += raw;
            }
        }
        if (!closed) cal.complete = false;
    }
    if (!seenCalendar) cal.complete = false;
    return cal;
}

} // namespace

WallMinutes WallFromParts(int year, int month, int day, int hour, int minute) {
    return DaysFromCivil(year, month, day) * Day + hour * 60 + minute;
}

int WeekdayOf(WallMinutes when) {
    long long days = when / Day - (when % Day < 0 ? 1 : 0);
    return static_cast<int>(((days % 7) + 11) % 7); // 1 January 1970 was a Thursday
}

std::string IcsUnescape(const std::string& value) {
    std::string out;
    for (size_t i = 0; i < value.size(); ++i) {
        if (value[i] != '\\' || i + 1 == value.size()) {
            out += value[i];
            continue;
        }
        char c = value[++i];
        out += c == 'n' || c == 'N' ? "\n" : std::string(1, c);
    }
    return out;
}

std::string IcsEscape(const std::string& value) {
    std::string out;
    for (size_t i = 0; i < value.size(); ++i) {
        char c = value[i];
        if (c == '\\' || c == ';' || c == ',')
            out += '\\', out += c;
        else if (c == '\r' && i + 1 < value.size() && value[i + 1] == '\n')
            continue;
        else if (c == '\n' || c == '\r')
            out += "\\n";
        else
            out += c;
    }
    return out;
}

Calendar ReadIcs(const std::string& text) {
    Calendar fallback;
    fallback.complete = false;
    return guardedValue("ReadIcs", Module, fallback, [&] { return readIcs(text); });
}

std::string WriteIcs(const Calendar& cal) {
    return guardedValue("WriteIcs", Module, std::string(), [&] {
        std::string out = "BEGIN:VCALENDAR\r\n";
        out += cal.head.empty() ? "VERSION:2.0\r\nPRODID:-//Corva//Reminders//EN\r\n" : cal.head;
        if (out.back() != '\n') out += "\r\n";
        for (const CalendarEvent& e : cal.events)
            out += e.changed || e.raw.empty() ? writeEvent(e) : e.raw;
        out += cal.other;
        return out + "END:VCALENDAR\r\n";
    });
}

namespace {

// A repeat follows the clock of its event's zone: 09:00 in Berlin stays 09:00
// there across a daylight saving change, which moves it by an hour here when
// the two zones change on different days. So the repeat is worked out in that
// zone and each start turned into local time.
std::optional<std::vector<WallMinutes>> occurrencesInZone(const CalendarEvent& e, WallMinutes from,
                                                          WallMinutes to) {
    CalendarEvent z = e;
    z.zone.clear();
    const auto start = localToZone(e.zone, e.start);
    const auto zoneFrom = localToZone(e.zone, from);
    const auto zoneTo = localToZone(e.zone, to);
    if (!start || !zoneFrom || !zoneTo) return {};
    z.start = *start;
    z.end = *start + (e.end - e.start);
    for (WallMinutes& x : z.exceptions) {
        const auto there = localToZone(e.zone, x);
        if (!there) return {};
        x = *there;
    }
    if (z.rule.until) {
        const auto there = localToZone(e.zone, *z.rule.until);
        if (!there) return {};
        z.rule.until = *there;
    }
    const WallMinutes length = e.end - e.start;
    std::vector<WallMinutes> found;
    // A day's margin either side: the zones may be that far apart.
    for (WallMinutes s : Occurrences(z, *zoneFrom - Day, *zoneTo + Day)) {
        const auto local = zoneToLocal(e.zone, s);
        if (!local) return {};
        if (*local < to && (*local + length > from || (length == 0 && *local >= from)))
            found.push_back(*local);
    }
    return found;
}

} // namespace

std::vector<WallMinutes> Occurrences(const CalendarEvent& e, WallMinutes from, WallMinutes to) {
    if (!e.zone.empty() && !e.allDay && e.rule.freq != Repeat::None)
        if (auto zoned = occurrencesInZone(e, from, to)) return *zoned;
    std::vector<WallMinutes> found;
    const WallMinutes length = e.end - e.start;
    auto overlaps = [&](WallMinutes s) {
        return s < to && (s + length > from || (length == 0 && s >= from));
    };
    auto excepted = [&](WallMinutes s) {
        return std::find(e.exceptions.begin(), e.exceptions.end(), s) != e.exceptions.end();
    };
    const RepeatRule& r = e.rule;
    if (r.freq == Repeat::None) {
        if (overlaps(e.start) && !excepted(e.start)) found.push_back(e.start);
        return found;
    }
    const long long startDay = e.start / Day - (e.start % Day < 0 ? 1 : 0);
    const WallMinutes timeOfDay = e.start - startDay * Day;
    int sy, sm, sd;
    CivilFromDays(startDay, sy, sm, sd);
    auto monthDayMatches = [&](int y, int m, int d) {
        if (r.byMonthDay.empty()) return true;
        const int dim = daysInMonth(y, m);
        return std::any_of(r.byMonthDay.begin(), r.byMonthDay.end(),
                           [&](int md) { return md > 0 ? md == d : dim + 1 + md == d; });
    };
    auto dayMatches = [&](long long day, bool ordinals) {
        if (r.byDay.empty()) return true;
        int y, m, d;
        CivilFromDays(day, y, m, d);
        const int wd = WeekdayOf(day * Day);
        const int dim = daysInMonth(y, m);
        return std::any_of(r.byDay.begin(), r.byDay.end(), [&](const RepeatRule::Day& bd) {
            if (bd.weekday != wd) return false;
            if (!ordinals || bd.ordinal == 0) return true;
            return bd.ordinal > 0 ? (d - 1) / 7 + 1 == bd.ordinal
                                  : -((dim - d) / 7 + 1) == bd.ordinal;
        });
    };
    long emitted = 0;
    std::vector<long long> days;
    for (long k = 0; k < MaxPeriods; ++k) {
        days.clear();
        long long base = 0;
        const long long step = static_cast<long long>(k) * r.interval;
        switch (r.freq) {
        case Repeat::Daily:
            base = startDay + step;
            if (dayMatches(base, false)) {
                int y, m, d;
                CivilFromDays(base, y, m, d);
                if (monthDayMatches(y, m, d)) days.push_back(base);
            }
            break;
        case Repeat::Weekly: {
            const long long monday = startDay - (WeekdayOf(e.start) + 6) % 7;
            base = monday + 7 * step;
            if (r.byDay.empty()) days.push_back(base + (WeekdayOf(e.start) + 6) % 7);
            for (const RepeatRule::Day& bd : r.byDay) days.push_back(base + (bd.weekday + 6) % 7);
            break;
        }
        case Repeat::Monthly: {
            const long long index = (static_cast<long long>(sy) * 12 + sm - 1) + step;
            const int y = static_cast<int>(index / 12), m = static_cast<int>(index % 12) + 1;
            if (y > 9999) return found;
            base = DaysFromCivil(y, m, 1);
            const int dim = daysInMonth(y, m);
            if (!r.byDay.empty() || !r.byMonthDay.empty()) {
                for (int d = 1; d <= dim; ++d)
                    if (dayMatches(base + d - 1, true) && monthDayMatches(y, m, d))
                        days.push_back(base + d - 1);
            } else if (sd <= dim) {
                days.push_back(base + sd - 1);
            }
            break;
        }
        case Repeat::Yearly: {
            const long long y = sy + step;
            if (y > 9999) return found;
            base = DaysFromCivil(static_cast<int>(y), 1, 1);
            if (sd <= daysInMonth(static_cast<int>(y), sm))
                days.push_back(DaysFromCivil(static_cast<int>(y), sm, sd));
            break;
        }
        case Repeat::None:
            break;
        }
        if (base * Day >= to) break;
        std::sort(days.begin(), days.end());
        days.erase(std::unique(days.begin(), days.end()), days.end());
        for (long long d : days) {
            const WallMinutes s = d * Day + timeOfDay;
            if (s < e.start) continue;
            if (r.until && s > *r.until) return found;
            if (r.count > 0 && ++emitted > r.count) return found;
            if (s >= to) return found;
            if (overlaps(s) && !excepted(s)) found.push_back(s);
        }
    }
    return found;
}

} // namespace corva
