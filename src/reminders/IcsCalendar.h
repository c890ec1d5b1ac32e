// The calendar file: the VEVENT/VALARM/RRULE subset that calendar programs
// export, read into events and written back. Whatever the reader does not
// understand stays in the file as it was: an event nobody edited is written
// back byte for byte, and other components (time zones, tasks) likewise.
#pragma once

#include "core/DateTime.h"

#include <optional>
#include <string>
#include <vector>

namespace corva {

// Local wall-clock minutes since 1 January 1970 00:00; all-day dates are
// their midnight. Time zones are resolved when the file is read, through the
// platform's zone database; an unknown zone counts as the local one.
using WallMinutes = long long;

WallMinutes WallFromParts(int year, int month, int day, int hour = 0, int minute = 0);
// 0 Sunday .. 6 Saturday.
int WeekdayOf(WallMinutes when);

enum class Repeat { None, Daily, Weekly, Monthly, Yearly };

struct RepeatRule {
    Repeat freq = Repeat::None;
    int interval = 1;
    int count = 0; // 0: no limit
    std::optional<WallMinutes> until;
    // BYDAY: weekday 0 Sunday .. 6 Saturday with its ordinal in the month or
    // year (0 every one, 1 the first, -1 the last).
    struct Day {
        int ordinal = 0;
        int weekday = 0;
        bool operator==(const Day&) const = default;
    };
    std::vector<Day> byDay;
    std::vector<int> byMonthDay; // negative counts from the month's end
};

struct CalendarEvent {
    std::string uid;
    std::string summary;
    std::string description;
    std::string location;
    WallMinutes start = 0;
    WallMinutes end = 0; // equal to start when the event has no length
    bool allDay = false;
    // The zone (TZID) the start was given in, when the desktop knows it: the
    // times above are local all the same, but repeats keep that zone's clock
    // and a rewrite gives the times in it.
    std::string zone;
    RepeatRule rule;
    std::string ruleText; // the RRULE as read, written back while the repeat is unchanged
    std::vector<WallMinutes> exceptions; // EXDATE
    std::vector<int> alarmMinutes;       // minutes before the start
    // Set by whoever changes the event: it is then written from these fields.
    bool changed = false;
    // The event's lines as read; unmanaged properties are kept from here.
    std::string raw;
};

struct Calendar {
    std::vector<CalendarEvent> events;
    // Everything outside the events, in order, so that a rewrite keeps it:
    // the calendar's own properties, and the components the reader skips.
    std::string head;  // VERSION, PRODID ... as read
    std::string other; // VTIMEZONE, VTODO, events without a start ...
    // False when the file was there but could not be read to its end: such a
    // calendar must not be written over the file.
    bool complete = true;
    int skipped = 0; // events left out because they made no sense
};

// Never throws; a text that is no calendar gives no events and complete false.
Calendar ReadIcs(const std::string& text);
std::string WriteIcs(const Calendar& calendar);

// The start of every occurrence overlapping [from, to), in order; a rule
// that never ends stops at to. Bounded work whatever the rule says.
std::vector<WallMinutes> Occurrences(const CalendarEvent& event, WallMinutes from, WallMinutes to);

// iCalendar's text escapes.
std::string IcsUnescape(const std::string& value);
std::string IcsEscape(const std::string& value);

} // namespace corva
