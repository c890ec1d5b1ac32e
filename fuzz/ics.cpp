// reminders.ics: read, expanded over a year, written and read again.
#include "FuzzSupport.h"

#include "reminders/IcsCalendar.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    const Calendar cal = ReadIcs(std::string(fuzz::asText(data, size)));
    const WallMinutes from = WallFromParts(2026, 1, 1);
    for (const CalendarEvent& e : cal.events) (void)Occurrences(e, from, from + 366 * 1440);
    Calendar edited = cal;
    for (CalendarEvent& e : edited.events) e.changed = true;
    // What this program writes, it reads back with the same events.
    const Calendar again = ReadIcs(WriteIcs(edited));
    if (cal.complete && again.events.size() != cal.events.size()) __builtin_trap();
    return 0;
}
