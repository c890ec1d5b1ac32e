#include "platform/TimeZone.h"

namespace corva::platform {

namespace {
TimeZones* installed = nullptr;
} // namespace

std::optional<long long> TimeZones::toUtc(const std::string&, const WallTime&) const {
    return {};
}

std::optional<WallTime> TimeZones::fromUtc(const std::string&, long long) const {
    return {};
}

TimeZones& timeZones() {
    static TimeZones plain;
    return installed ? *installed : plain;
}

TimeZones* setTimeZones(TimeZones* zones) {
    TimeZones* before = installed;
    installed = zones;
    return before;
}

} // namespace corva::platform
