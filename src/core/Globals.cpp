#include "core/Globals.h"

#include "core/FileSubs.h"

namespace corva {

std::string DataFolder;
std::string MessageFolder;
std::string FilterFolder;
std::string FoldersIniPath;
std::string FolderListIniPath;
int SpamminessLevel = 0;
int SaveToSpamScore = 0;
int HeaderWords = 0;
int SpamWordCount = 0;

void UseDefaultFolders(const std::string& programFolder) {
    std::string home = addslash(programFolder);
    DataFolder = home;
    FilterFolder = home;
    MessageFolder = home + "Messages/";
    FoldersIniPath = MessageFolder + "folders.ini";
    FolderListIniPath = MessageFolder + "folderlist.ini";
}

} // namespace corva
