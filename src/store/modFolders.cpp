// Folder paths, tree paths and the two folder list files.
#include "store/modFolders.h"

#include "core/AppInfo.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDGeneral.h"
#include "core/mSHAREDSettings.h"
#include "localise/modLanguages.h"

#include <algorithm>

namespace corva {

namespace {

const char* kModule = "modFolders";

// A folder key of Paths.ini as a path ending in "/", written back as read so
// that the default is kept from now on.
std::string readPathKey(const char* key, const std::string& def) {
    std::string value = Trim(PathsStore().RetrieveSetting(key, def).toText());
    if (value.empty()) value = def;
    PathsStore().StoreSetting(key, value);
    return addslash(ToSlashes(value));
}

std::string withoutSlash(std::string path) {
    while (path.size() > 1 && path.back() == '/') path.pop_back();
    return path;
}

} // namespace

void readmessagefolder() {
    guarded("readmessagefolder", kModule, [] {
        MessageFolder = readPathKey("MessageFolder", AppPath() + "Messages");
        FoldersIniPath = MessageFolder + "folders.ini";
        FolderListIniPath = MessageFolder + "folderlist.ini";
        MkMissingDir(MessageFolder);
        for (const char* f : {SentItemsFolder, InboxFolder, OutboxFolder, DeletedFolder,
                              ArchiveFolder, SpamBayesFolder, BayesOldFolder})
            MkMissingDir(MessageFolder + f);
    });
}

void ReadFilterFolder() {
    guarded("ReadFilterFolder", kModule, [] {
        FilterFolder = readPathKey("FilterFolder", withoutSlash(AppPath()));
        MkMissingDir(FilterFolder);
    });
}

void ReadDataFolder() {
    guarded("ReadDataFolder", kModule, [] {
        DataFolder = readPathKey("DataFolder", withoutSlash(AppPath()));
        MkMissingDir(DataFolder);
    });
}

void setmessagefolder(const std::string& path) {
    guarded("setmessagefolder", kModule, [&] { PathsStore().StoreSetting("MessageFolder", path); });
    readmessagefolder();
}

void setfilterfolder(const std::string& path) {
    guarded("setfilterfolder", kModule, [&] { PathsStore().StoreSetting("FilterFolder", path); });
    ReadFilterFolder();
}

void setdatafolder(const std::string& path) {
    guarded("setdatafolder", kModule, [&] { PathsStore().StoreSetting("DataFolder", path); });
    ReadDataFolder();
}

std::string removecount(const std::string& text) {
    std::string out = text;
    for (size_t open = out.find(" ("); open != std::string::npos; open = out.find(" (")) {
        size_t close = out.find(')', open);
        out.erase(open, close == std::string::npos ? std::string::npos : close - open + 1);
    }
    return out;
}

std::string extractmessagefolder(const std::string& nodePath) {
    return guardedValue("extractmessagefolder", kModule, std::string(), [&] {
        std::string path = ToSlashes(nodePath);
        std::string root = addslash(MessageFolder);
        size_t slash = path.find('/');
        // The root ends in "/" already, so the piece after it starts past the separator.
        std::string folder = slash == std::string::npos ? root : root + path.substr(slash + 1);
        return addslash(removecount(folder));
    });
}

std::string relativefolder(const std::string& folderPath) {
    std::string folder = addslash(ToSlashes(folderPath));
    std::string root = addslash(MessageFolder);
    if (root.empty() || !StartsWithNoCase(folder, root)) return "";
    return folder.substr(root.size());
}

std::string FolderIniText(std::string* list) {
    return guardedValue("FolderIniText", kModule, std::string(), [&] {
        std::string root = addslash(ResolvePath(MessageFolder));
        std::vector<std::string> full;
        fillfoldersrecursed(root, full);
        std::vector<std::string> folders;
        folders.reserve(full.size());
        for (const auto& f : full) folders.push_back(addslash(f.substr(root.size())));
        // Byte order, the order an exchange sort leaves; a parent comes before its children.
        std::stable_sort(folders.begin(), folders.end());

        std::string pairs;
        for (const auto& path : folders) {
            std::vector<std::string> names = Split(path, "/");
            if (names.size() <= 2) {
                pairs += names[0] + "\r\n" + "Folders\r\n";
            } else {
                pairs += names[names.size() - 2] + "\r\n" + names[names.size() - 3] + "\r\n";
            }
            // Backslashes, as every copy of the file has always held them;
            // FillMailFolders reads either.
            if (list) *list += Replace(path, "/", "\\") + "\r\n";
        }
        return pairs;
    });
}

void generatefolderini() {
    guarded("generatefolderini", kModule, [] {
        std::string list;
        const std::string pairs = FolderIniText(&list);
        WriteFileAtomically(FoldersIniPath, pairs, false);
        WriteFileAtomically(FolderListIniPath, list, false);
    });
}

void FillMailFolders(std::vector<std::string>& folders) {
    guarded("FillMailFolders", kModule, [&] {
        if (!FileExists(FolderListIniPath)) generatefolderini();
        std::string text = LoadTextFile(FolderListIniPath);
        for (std::string& line : Split(Replace(text, "\r\n", "\n"), "\n")) {
            if (Trim(line).empty()) continue;
            folders.push_back(addslash(ToSlashes(line)));
        }
    });
}

FolderCombo FillFolderCombo() {
    FolderCombo combo;
    guarded("FillFolderCombo", kModule, [&] {
        std::vector<std::string> folders;
        FillMailFolders(folders);
        for (const auto& f : folders) {
            if (EqualsNoCase(f, "Outbox/")) continue;
            combo.entries.push_back("/" + f);
            if (EqualsNoCase(f, "Inbox/"))
                combo.selected = static_cast<int>(combo.entries.size()) - 1;
        }
    });
    return combo;
}

NewFolderResult CreateNewFolder(const std::string& parentFolder, const std::string& typedName) {
    NewFolderResult result;
    guarded("cmdok_click", "frmNewFolder", [&] {
        std::string name = typedName;
        removenonalphanumeric(name);
        // Folder names are letters and digits only; a blank would let a name
        // look like the " (count)" of the tree.
        name = Replace(name, " ", "");
        result.name = name;
        if (name.empty()) {
            result.message = gettranslation("Please enter a folder name");
            return;
        }
        std::string parent = addslash(ResolvePath(addslash(ToSlashes(parentFolder))));
        if (FolderExists(parent + name)) {
            result.message = gettranslation("There's already a folder called ") + name +
                             gettranslation(".  Please try again.");
            return;
        }
        MkMissingDir(parent + name);
        if (!FolderExists(parent + name)) {
            result.message = gettranslation("Could not make the folder ") + parent + name;
            return;
        }
        generatefolderini();
        result.created = true;
        result.path = parent + name + "/";
    });
    return result;
}

} // namespace corva
