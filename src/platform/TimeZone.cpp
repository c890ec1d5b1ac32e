#include "platform/TimeZone.h"
#include "platform/Installed.h"

namespace corva::platform {

std::optional<long long> TimeZones::toUtc(const std::string&, const WallTime&) const {
    return {};
}

std::optional<WallTime> TimeZones::fromUtc(const std::string&, long long) const {
    return {};
}

TimeZones& timeZones() {
    return Installed<TimeZones>::get();
}

TimeZones* setTimeZones(TimeZones* zones) {
    return Installed<TimeZones>::set(zones);
}

} // namespace corva::platform
