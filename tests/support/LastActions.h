// The ring of last actions as tests read it: failures are recorded there
// rather than thrown, so it is where a test finds what went wrong.
#pragma once

#include "core/mSHAREDLogging.h"

#include <string>

namespace corva::test {

// Every entry, one a line.
inline std::string lastActionsText() {
    std::string all;
    for (const auto& e : LastActionEntries()) all += e + "\n";
    return all;
}

// True when an entry contains the text.
inline bool lastActionsHold(const std::string& text) {
    return lastActionsText().find(text) != std::string::npos;
}

} // namespace corva::test
