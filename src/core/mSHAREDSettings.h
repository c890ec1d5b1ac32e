// The global settings of Corva.ini and the paths store of Paths.ini.
#pragma once

#include "core/cSHAREDSettings.h"

namespace corva {

cSHAREDSettings& Settings();   // Corva.ini
cSHAREDSettings& PathsStore(); // Paths.ini

void LoadSettings(const std::string& path);
void savesettings(const std::string& path);
// Saves Corva.ini in the program folder.
void savesettings();
Variant sget(const std::string& key, const Variant& def = Variant());
void sset(const std::string& key, const Variant& value);

// Paths of the two files in the program folder.
std::string SettingsFilePath(); // Corva.ini
std::string PathsFilePath();    // Paths.ini

} // namespace corva
