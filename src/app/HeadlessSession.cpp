#include "app/HeadlessSession.h"

#include "app/Command.h"
#include "core/AppInfo.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Startup.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "store/modFolders.h"

namespace corva::app {

HeadlessSession::HeadlessSession() {
    programFolder_ = ChooseProgramFolder(HomeOption());
    SetAppPath(programFolder_);
    StartLogs();
    firstRun_ = !FileExists(SettingsFilePath());
    LoadPathsStore();
    ReadDataFolder();
    LoadMainSettings();
    MigrateOldSettings();
    ReadScoringNumbers();
    readmessagefolder();
    ReadFilterFolder();
    MigrateSignature();
    LogAction("Corva startup complete, ready for some action.");
    LogAction(std::string(50, '='));
}

HeadlessSession::~HeadlessSession() {
    LogAction("Beginning shutdown");
    ShutdownCore();
}

} // namespace corva::app
