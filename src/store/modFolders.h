// The folder tree of the mail store: where the three folders live, how a tree
// node's path becomes a directory, and folders.ini / folderlist.ini, which are
// caches of the directory tree that may be deleted at any time.
#pragma once

#include <string>
#include <vector>

namespace corva {

// Read a folder key from Paths.ini (with its default), set the global, write the
// key back and make the folders that must exist.
void readmessagefolder();
void ReadFilterFolder();
void ReadDataFolder();
// Store the key, then read it as above.
void setmessagefolder(const std::string& path);
void setfilterfolder(const std::string& path);
void setdatafolder(const std::string& path);

// "Inbox (12)" -> "Inbox": cuts every " (" through the next ")".
std::string removecount(const std::string& text);
// A tree path ("Folders\Inbox (3)\Sub", either separator) to its directory,
// ending in "/".
std::string extractmessagefolder(const std::string& nodePath);
// A directory under the message root relative to it, ending in "/" ("Inbox/");
// "" for the root itself or a path outside it.
std::string relativefolder(const std::string& folderPath);

// Rewrites folders.ini and folderlist.ini from the directories under the root.
void generatefolderini();
// The text generatefolderini writes to folders.ini (and to folderlist.ini
// through list), made from the folders on disk without writing anything.
std::string FolderIniText(std::string* list = nullptr);
// The relative folder paths of folderlist.ini ("Inbox/"), made first if missing.
void FillMailFolders(std::vector<std::string>& folders);

// What a folder drop-down shows: every folder but the Outbox, with a leading
// "/", and which entry is selected ("/Inbox/"; -1 when there is none).
struct FolderCombo {
    std::vector<std::string> entries;
    int selected = -1;
};
FolderCombo FillFolderCombo();

// The outcome of the new-folder dialog's OK: either the folder was made (path
// set) or the message to show, with the dialog staying open.
struct NewFolderResult {
    bool created = false;
    std::string path;    // the new directory, ending in "/"
    std::string name;    // the name as it was cleaned
    std::string message; // "" when created
};
// Cleans the typed name to letters and digits, refuses an empty or taken
// name, makes the directory and rebuilds the folder files.
NewFolderResult CreateNewFolder(const std::string& parentFolder, const std::string& typedName);

} // namespace corva
