// The colour of a list line or folder by the age of its mail: old mail fades
// towards light grey, recent mail is darker and the newest is green. The
// limits come from the settings Age0, Age1 and Age2, in days.
#pragma once

#include "core/DateTime.h"

#include <cstdint>

namespace corva {

inline constexpr int32_t AgeColourOldest = 0xA7A7A7;
inline constexpr int32_t AgeColourOlder = 0x808080;
inline constexpr int32_t AgeColourRecent = 0x595959;
inline constexpr int32_t AgeColourNew = 0x008000;

class AgeColours {
public:
    // The three limit days counted back from today's date.
    AgeColours(long age0Days, long age1Days, long age2Days, const DateTime& today);
    // From the settings (defaults 30, 14 and 1 days) and today's date.
    static AgeColours FromSettings();

    // The colour for a whole day number: strictly before the Age0 day, on or
    // before the Age1 day, on or before the Age2 day, else new.
    int32_t colourFor(long day) const;

    long age0Day() const { return age0_; }
    long age1Day() const { return age1_; }
    long age2Day() const { return age2_; }

private:
    long age0_, age1_, age2_;
};

} // namespace corva
