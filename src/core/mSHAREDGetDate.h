// Dates in the user's own format, detected once on first use.
#pragma once

#include "core/DateTime.h"

#include <string>

namespace corva {

void setuplocale();
std::string fdateseparator();
// "MM/DD/YYYY", "DD/MM/YYYY", "YYYY/MM/DD" or "YYYY/DD/MM", with the user's separator.
std::string flocaldateformatstring();
// The same with the month by name.
std::string flocalfulldateformat();
std::string formatdate(const DateTime& date);
std::string shortformatdate(const DateTime& date);
std::string DatePlusTime(const DateTime& date);

} // namespace corva
