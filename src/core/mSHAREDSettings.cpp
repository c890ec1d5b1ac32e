#include "core/mSHAREDSettings.h"

#include "core/AppInfo.h"

namespace corva {

cSHAREDSettings& Settings() {
    static cSHAREDSettings settings;
    return settings;
}

cSHAREDSettings& PathsStore() {
    static cSHAREDSettings paths;
    return paths;
}

void LoadSettings(const std::string& path) {
    Settings().LoadSettings(path);
}
void savesettings(const std::string& path) {
    Settings().SaveSettings(path);
}
void savesettings() {
    Settings().SaveSettings(SettingsFilePath());
}
Variant sget(const std::string& key, const Variant& def) {
    return Settings().RetrieveSetting(key, def);
}
void sset(const std::string& key, const Variant& value) {
    Settings().StoreSetting(key, value);
}

std::string SettingsFilePath() {
    return AppPath() + "Corva.ini";
}
std::string PathsFilePath() {
    return AppPath() + "Paths.ini";
}

} // namespace corva
