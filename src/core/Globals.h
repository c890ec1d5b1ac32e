// Folder paths and scoring numbers read at start-up and shared by the whole
// program. Folders end in "/".
#pragma once

#include <cstdint>
#include <string>

namespace corva {

extern std::string DataFolder;        // default: the program folder
extern std::string MessageFolder;     // default: Messages/ under the program folder
extern std::string FilterFolder;      // default: the program folder
extern std::string FoldersIniPath;    // MessageFolder + "folders.ini"
extern std::string FolderListIniPath; // MessageFolder + "folderlist.ini"

// Scoring numbers from the settings, read at start-up, in the widths that
// decide outcomes: single precision and 16-bit.
extern float Spamminess;      // default 0.99
extern float SaveToSpamScore; // default 2
extern int16_t HeaderWords;   // default 12
extern int16_t SpamWordCount; // default 0.7, which the 16-bit read turns into 1
// The NoCache setting: folders are read without their cache.csv.
extern bool NoCacheFlag;
// Reads the four scoring numbers from the settings.
void ReadScoringNumbers();

// The built-in mail folders under MessageFolder.
inline constexpr const char* InboxFolder = "Inbox";
inline constexpr const char* SentItemsFolder = "Sent Items";
inline constexpr const char* OutboxFolder = "Outbox";
inline constexpr const char* DeletedFolder = "Deleted";
inline constexpr const char* ArchiveFolder = "Archive";
inline constexpr const char* SpamBayesFolder = "SpamBayes";
inline constexpr const char* BayesOldFolder = "SpamBayes/BayesOld";

// Sets the folder paths for a program folder the way start-up does, without
// reading settings (tests and tools): data and filters in it, messages below.
void UseDefaultFolders(const std::string& programFolder);

} // namespace corva
