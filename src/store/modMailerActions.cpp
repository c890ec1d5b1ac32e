#include "store/modMailerActions.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/modSubs.h"
#include "store/modFolders.h"
#include "store/modMessageFiles.h"
#include "store/modTags.h"

#include <filesystem>

namespace corva {

namespace {

const char* kModule = "frmMailer";

std::string folderOf(const std::string& folder) {
    return addslash(ResolvePath(addslash(ToSlashes(folder))));
}

// A free name for a file moved into Deleted: its own, or with "_1", "_2" ...
// in front of the extension.
std::string deletedName(const std::string& deleted, const std::string& file) {
    std::string name = fileonly(file);
    std::string ext = extonly(name);
    std::string base = ext.empty() ? name : name.substr(0, name.size() - ext.size() - 1);
    std::string dot = ext.empty() ? "" : "." + ext;
    std::string candidate = deleted + name;
    for (long n = 1; FileExists(candidate); ++n) candidate = deleted + base + "_" + Str(n) + dot;
    return candidate;
}

// The file exists under exactly this name (the system's own lookup, which
// doesn't fall back to another case as ResolvePath does).
bool isFileNamed(const std::string& path) {
    std::error_code ec;
    return std::filesystem::is_regular_file(path, ec);
}

} // namespace

std::vector<std::string> MarkMessagesReadUnread(FolderCaches& caches, const std::string& rawFolder,
                                                const std::vector<std::string>& files, bool read,
                                                ReplacedFiles* replaced) {
    std::vector<std::string> paths = files;
    busymouse();
    guarded("markselectedreadunread", kModule, [&] {
        std::string folder = folderOf(rawFolder);
        int index = caches.cacheindexbypath(folder);
        int count = readunreadtag(folder);
        // Read one by one, written together: a disk flush per message would
        // make marking a thousand take minutes.
        std::vector<std::shared_ptr<clsMessage>> changing;
        std::vector<size_t> at;
        std::vector<std::string> known;
        for (size_t i = 0; i < files.size(); ++i) {
            guarded("markselectedreadunread", kModule, [&] {
                auto message = readmessageforsaving(files[i]);
                if (message->Filename().empty()) return;
                known.push_back(files[i]);
                if (message->Read == read) {
                    paths[i] = message->Filename();
                    return;
                }
                message->Read = read;
                changing.push_back(message);
                at.push_back(i);
            });
        }
        if (index >= 0) caches.Item(index).MarkMsgsReadUnread(known, read);
        std::vector<const clsMessage*> batch;
        for (const auto& m : changing) batch.push_back(m.get());
        savemessages(batch, replaced);
        for (size_t k = 0; k < changing.size(); ++k) {
            // A file whose new text could not be written keeps its old name.
            if (!isFileNamed(changing[k]->Filename())) continue;
            paths[at[k]] = changing[k]->Filename();
            count += read ? -1 : 1;
        }
        if (index >= 0) caches.Item(index).WriteCache();
        // Written over in place: removing it first would make finding its
        // name again a search of the whole folder.
        createunreadtag(folder, count < 0 ? 0 : count);
    });
    normalmouse();
    return paths;
}

void DeleteMessages(FolderCaches& caches, const std::string& rawFolder,
                    const std::vector<std::string>& files) {
    guarded("listview1_keyup", kModule, [&] {
        std::string folder = folderOf(rawFolder);
        std::string deleted = folderOf(MessageFolder + DeletedFolder);
        bool inDeleted = EqualsNoCase(folder, deleted);
        // From the last, as the rows go.
        for (auto it = files.rbegin(); it != files.rend(); ++it) {
            const std::string& file = *it;
            guarded("listview1_keyup", kModule, [&] {
                caches.removemsgfromcache(folder, file);
                if (inDeleted) {
                    EraseFile(file);
                    return;
                }
                std::string target = deletedName(deleted, ResolvePath(file));
                if (!movefile(file, target))
                    throw RunError(Err::PathFileAccess, "Can't move " + file);
                auto message = readfullmessage(target);
                if (message->Filename().empty()) return;
                if (!message->Read) {
                    // Mail in Deleted is always read. It is marked before the
                    // cache hears of it, so the cache never holds it unread.
                    removefromunreadtag(folder, 1);
                    message->Read = true;
                    savemessage(*message);
                }
                caches.addmsgtocache(deleted, *readmessageheader(message->Filename()));
            });
        }
    });
}

std::vector<std::string> MoveMessages(FolderCaches& caches, const std::string& rawSource,
                                      const std::string& rawTarget,
                                      const std::vector<std::string>& files) {
    std::vector<std::string> paths;
    guarded("treeview1_oledragdrop", kModule, [&] {
        std::string source = folderOf(rawSource);
        std::string target = folderOf(rawTarget);
        for (const auto& file : files) {
            std::string moved;
            guarded("treeview1_oledragdrop", kModule, [&] {
                auto header = readmessageheader(file);
                if (header->Filename().empty()) return;
                bool read = header->Read;
                std::string name =
                    getunusedfilename(read, target, filewithoutext(fileonly(file)), ".eml");
                caches.removemsgfromcache(source, file);
                if (!movefile(file, name))
                    throw RunError(Err::PathFileAccess, "Can't move " + file);
                moved = name;
                if (read) {
                    caches.addmsgtocache(target, *readmessageheader(name));
                    return;
                }
                addtounreadtag(target, 0);
                auto arrived = readmessageheader(name);
                AddToLastMessageTag(target, *arrived);
                caches.addmsgtocache(target, *arrived);
                removefromunreadtag(source, 0);
            });
            paths.push_back(moved);
        }
    });
    return paths;
}

} // namespace corva
