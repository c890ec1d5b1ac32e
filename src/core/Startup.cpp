#include "core/Startup.h"

#include "core/AppInfo.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"

#include "platform/Platform.h"

namespace corva {

FolderClaim ClaimProgramFolder(const std::string& folder) {
    FolderClaim claim;
    platform::LockAttempt attempt =
        platform::current().files().lock(addslash(folder) + "corva.lock");
    claim.lock = std::move(attempt.lock);
    if (claim.ok()) return claim;
    if (attempt.ownerPid > 0)
        claim.refusal = "Another Corva (process " + std::to_string(attempt.ownerPid) +
                        ") is using the program folder " + folder + "; nothing was changed.";
    else
        claim.refusal = "Can't lock the program folder " + folder + " (" + attempt.result.detail +
                        "); nothing was changed.";
    return claim;
}

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
