// Starts Corva with its windows: the scanner, its tray icon and dialogs.
#pragma once

namespace corva::ui {

int RunWindows(int argc, char** argv);

} // namespace corva::ui
