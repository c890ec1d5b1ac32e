// A rule set and block lists of every kind, written into the fuzz folder and
// loaded once, for the targets that judge messages.
#pragma once

#include "filters/frmFilters.h"

namespace corva::fuzz {

frmFilters& startingFilters();

} // namespace corva::fuzz
