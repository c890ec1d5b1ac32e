// Named time zones from Qt's zone database (the system's tzdata).
#pragma once

#include "platform/TimeZone.h"

namespace corva::platform::qt {

class QtTimeZones : public TimeZones {
public:
    std::optional<long long> toUtc(const std::string& zone, const WallTime& wall) const override;
    std::optional<WallTime> fromUtc(const std::string& zone, long long utcSeconds) const override;
};

} // namespace corva::platform::qt
