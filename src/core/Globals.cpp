#include "core/Globals.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/mSHAREDSettings.h"

namespace corva {

std::string DataFolder;
std::string MessageFolder;
std::string FilterFolder;
std::string FoldersIniPath;
std::string FolderListIniPath;
float Spamminess = 0.99f;
float SaveToSpamScore = 2;
int16_t HeaderWords = 12;
int16_t SpamWordCount = 1;
bool NoCacheFlag = false;

void ReadScoringNumbers() {
    Spamminess = static_cast<float>(sget("Spamminess", 0.99).toNumber());
    SaveToSpamScore = static_cast<float>(sget("SaveToSpamScore", 2).toNumber());
    HeaderWords = guardedValue("readscoring", "frmMain", int16_t{12},
                               [] { return sget("HeaderWords", 12).toInt16(); });
    SpamWordCount = guardedValue("readscoring", "frmMain", int16_t{1},
                                 [] { return sget("SpamWordCount", 0.7).toInt16(); });
}

void UseDefaultFolders(const std::string& programFolder) {
    std::string home = addslash(programFolder);
    DataFolder = home;
    FilterFolder = home;
    MessageFolder = home + "Messages/";
    FoldersIniPath = MessageFolder + "folders.ini";
    FolderListIniPath = MessageFolder + "folderlist.ini";
}

} // namespace corva
