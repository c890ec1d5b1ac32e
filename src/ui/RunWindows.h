// Starts Corva with its windows: the scanner, its tray icon and dialogs.
#pragma once

#include <string>

namespace corva::ui {

// home is the program folder asked for ("" for the default); startLine the
// mail link or .eml path to open once started ("" for none).
int RunWindows(int argc, char** argv, const std::string& home, const std::string& startLine);

} // namespace corva::ui
