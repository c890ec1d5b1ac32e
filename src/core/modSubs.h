// Address helpers and the desktop's open and cursor calls.
#pragma once

#include <string>

namespace corva {

// The address in a text: what is inside "<...>", lower case, first word only.
std::string extractemail(const std::string& text);
// The display name before "<", without quotes.
std::string extractname(const std::string& text);
// From index on, the first account with a reply address; 0 when none.
int defaultaccount(int fromIndex = 0);
// Opens a link with the desktop; a failure says "There was an ERROR?".
void websitevisit(const std::string& address);
void busymouse();
void busybgmouse();
void normalmouse();

} // namespace corva
