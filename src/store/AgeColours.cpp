#include "store/AgeColours.h"

#include "core/mSHAREDSettings.h"

#include <cmath>

namespace corva {

AgeColours::AgeColours(long age0Days, long age1Days, long age2Days, const DateTime& today) {
    long day = static_cast<long>(std::floor(today.dateOnly().serial()));
    age0_ = day - age0Days;
    age1_ = day - age1Days;
    age2_ = day - age2Days;
}

AgeColours AgeColours::FromSettings() {
    return AgeColours(sget("Age0", 30).toLong(), sget("Age1", 14).toLong(),
                      sget("Age2", 1).toLong(), DateTime::today());
}

int32_t AgeColours::colourFor(long day) const {
    if (day < age0_) return AgeColourOldest;
    if (day <= age1_) return AgeColourOlder;
    if (day <= age2_) return AgeColourRecent;
    return AgeColourNew;
}

} // namespace corva
