// Named time zones ("Europe/Berlin"): a wall-clock time there to UTC and
// back, for calendar times that carry their zone. Installed apart from
// Platform, like the HTTP client. The default knows no zone at all, so the
// logic falls back to the desktop's own time as it would for an unknown one.
#pragma once

#include <optional>
#include <string>

namespace corva::platform {

struct WallTime {
    int year = 1970, month = 1, day = 1, hour = 0, minute = 0, second = 0;
    bool operator==(const WallTime&) const = default;
};

class TimeZones {
public:
    virtual ~TimeZones() = default;
    // Seconds since 1970-01-01 UTC of a wall-clock time in zone; nothing when
    // the zone is unknown. A time skipped by a daylight saving change counts
    // as the same time by the clock before the change.
    virtual std::optional<long long> toUtc(const std::string& zone, const WallTime& wall) const;
    // The wall-clock time in zone of a moment; nothing when the zone is unknown.
    virtual std::optional<WallTime> fromUtc(const std::string& zone, long long utcSeconds) const;
};

// The zones in force: the ones the platform installed, else the default.
TimeZones& timeZones();
// Installs zones (not owned); nullptr restores the default. Returns the ones
// installed before.
TimeZones* setTimeZones(TimeZones* zones);

} // namespace corva::platform
