#include "core/Startup.h"

#include "core/AppInfo.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"

namespace corva {

void StartLogs() {
    WriteTextFile(AppPath() + "msglog.txt", LogLine("Startup") + "\r\n");
    LogAction("Corva version " + AppVersion() + " startup.", true);
}

void LoadPathsStore() {
    LogAction("Loading settings");
    PathsStore().LoadSettings(PathsFilePath());
}

void LoadMainSettings() {
    LoadSettings(SettingsFilePath());
    NoCacheFlag = sget("NoCache", false).toBool();
}

void MigrateOldSettings() {
    if (sget("MessageFolder", "---").toText() == "---") return;
    if (PathsStore().RetrieveWithDefault("MessageFolder", "---").toText() == "---")
        PathsStore().StoreSetting("MessageFolder", sget("MessageFolder"));
    for (const char* key :
         {"MessageFolder", "DataFolder", "FilterFolder", "SpamFolder", "ImportMailStore"})
        Settings().DeleteSettingByName(key);
    savesettings();
    PathsStore().SaveSettings(PathsFilePath());
}

void MigrateSignature() {
    std::string sig = DataFolder + "Sigs/Sig1.txt";
    if (FileExists(sig)) return;
    std::string text = Replace(sget("SIGNATURE", "").toText(), std::string(1, '\x01'), "\r\n");
    MkMissingDir(DataFolder + "Sigs");
    WriteTextFile(sig, text);
    savesettings();
    // Deleted after the save on purpose: the key leaves the file at the next save.
    Settings().DeleteSettingByName("Signature");
}

void ShutdownCore() {
    LogAction("Saving settings");
    savesettings();
    LogAction("Writing log");
    ListLastActions();
    LogAction("Finished Shutdown of " + AppTitle());
}

} // namespace corva
