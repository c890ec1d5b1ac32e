// Who the program is and where its folder lives. The program folder holds
// Corva.ini, Paths.ini, the logs and the languages.
#pragma once

#include <string>

namespace corva {

const std::string& AppTitle();   // "Corva"
const std::string& AppVersion(); // e.g. "0.1.0"
// The maker's line, site and support address used in messages and reports.
const std::string& MakerName();
const std::string& MakerSite();
const std::string& SupportAddress();

// The program folder, always ending in "/". Set once at start.
const std::string& AppPath();
void SetAppPath(const std::string& folder);

// Chooses the program folder: --home, else $CORVA_HOME, else
// $XDG_DATA_HOME/corva, else ~/.local/share/corva. Creates it.
std::string ChooseProgramFolder(const std::string& homeOption);

// The operating system's name for reports and log headers ("Linux 6.1.0 x86_64").
std::string fosname();

} // namespace corva
