#include "store/modMailerActions.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/modSubs.h"
#include "platform/Files.h"
#include "platform/Platform.h"
#include "store/modFolders.h"
#include "store/modMessageFiles.h"
#include "store/modTags.h"

#include <filesystem>
#include <unordered_set>

namespace corva {

namespace {

const char* kModule = "frmMailer";

std::string folderOf(const std::string& folder) {
    return addslash(ResolvePath(addslash(ToSlashes(folder))));
}

// A folder's names, lower-cased, listed once: testing each new name against
// the disk read the whole folder again for every message moved.
class FolderNames {
public:
    explicit FolderNames(const std::string& folder) {
        std::error_code ec;
        for (const auto& entry : std::filesystem::directory_iterator(folder, ec))
            names_.insert(LCase(entry.path().filename().string()));
        // Without the list a name could land on a file that is there.
        if (ec) throw RunError(Err::PathFileAccess, "Can't list " + folder);
    }
    bool taken(const std::string& name) const { return names_.count(LCase(name)) > 0; }
    void add(const std::string& path) { names_.insert(LCase(fileonly(path))); }

private:
    std::unordered_set<std::string> names_;
};

// A free name for a file moved into Deleted: its own, or with "_1", "_2" ...
// in front of the extension.
std::string deletedName(const std::string& deleted, const std::string& file,
                        const FolderNames& names) {
    std::string name = fileonly(file);
    std::string ext = extonly(name);
    std::string base = ext.empty() ? name : name.substr(0, name.size() - ext.size() - 1);
    std::string dot = ext.empty() ? "" : "." + ext;
    std::string candidate = name;
    for (long n = 1; names.taken(candidate); ++n) candidate = base + "_" + Str(n) + dot;
    return deleted + candidate;
}

// Renames a file to a name known to be free in any case; movefile would look
// through the folder for another spelling of it first.
bool moveTo(const std::string& file, const std::string& target) {
    if (!platform::current().files().writesAllowed()) return false;
    std::error_code ec;
    std::filesystem::rename(file, target, ec);
    return !ec || movefile(file, target);
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

// Many messages cost what one does, bar the moves: the files move first, one
// by one, and the folders' caches, tags and read marks follow once, so a crash
// between them leaves every message in a folder and only a list to rebuild.
void DeleteMessages(FolderCaches& caches, const std::string& rawFolder,
                    const std::vector<std::string>& files) {
    guarded("listview1_keyup", kModule, [&] {
        std::string folder = folderOf(rawFolder);
        std::string deleted = folderOf(MessageFolder + DeletedFolder);
        caches.removemsgsfromcache(folder, files);
        if (EqualsNoCase(folder, deleted)) {
            for (auto it = files.rbegin(); it != files.rend(); ++it) EraseFile(*it);
            return;
        }
        FolderNames names(deleted);
        std::vector<std::shared_ptr<clsMessage>> arrived, marking;
        // From the last, as the rows go.
        for (auto it = files.rbegin(); it != files.rend(); ++it) {
            const std::string& file = *it;
            guarded("listview1_keyup", kModule, [&] {
                std::string target = deletedName(deleted, ResolvePath(file), names);
                if (!moveTo(file, target))
                    throw RunError(Err::PathFileAccess, "Can't move " + file);
                names.add(target);
                auto message = readmessageforsaving(target);
                if (message->Filename().empty()) return;
                arrived.push_back(message);
                if (message->Read) return;
                message->Read = true;
                marking.push_back(message);
            });
        }
        // Mail in Deleted is always read. It is marked before the cache hears
        // of it, so the cache never holds it unread.
        std::vector<const clsMessage*> batch;
        for (const auto& m : marking) batch.push_back(m.get());
        savemessages(batch);
        if (!marking.empty()) removefromunreadtag(folder, static_cast<int>(marking.size()));
        std::vector<std::shared_ptr<clsMessage>> rows;
        for (const auto& m : arrived) {
            // One whose mark could not be written is left to the next rescan.
            if (!isFileNamed(m->Filename())) continue;
            auto header = readmessageheader(m->Filename());
            if (!header->Filename().empty()) rows.push_back(header);
        }
        caches.addmsgstocache(deleted, rows);
    });
}

std::vector<std::string> MoveMessages(FolderCaches& caches, const std::string& rawSource,
                                      const std::string& rawTarget,
                                      const std::vector<std::string>& files) {
    std::vector<std::string> paths(files.size());
    guarded("treeview1_oledragdrop", kModule, [&] {
        std::string source = folderOf(rawSource);
        std::string target = folderOf(rawTarget);
        FolderNames names(target);
        std::vector<std::shared_ptr<clsMessage>> arrived;
        std::vector<std::string> gone;
        const clsMessage* latestUnread = nullptr;
        long latestDay = 0;
        int unread = 0;
        for (size_t i = 0; i < files.size(); ++i) {
            const std::string& file = files[i];
            guarded("treeview1_oledragdrop", kModule, [&] {
                auto header = readmessageheader(file);
                if (header->Filename().empty()) return;
                bool read = header->Read;
                std::string name = getunusedfilename(
                    read, target, filewithoutext(fileonly(file)), ".eml",
                    [&](const std::string& candidate) { return names.taken(candidate); });
                if (!moveTo(file, name)) throw RunError(Err::PathFileAccess, "Can't move " + file);
                names.add(name);
                gone.push_back(file);
                paths[i] = name;
                header->setFilename(name);
                arrived.push_back(header);
                if (read) return;
                ++unread;
                // LastMsg.tag hears of the latest unread arrival only.
                long day = guardedValue("AddToLastMessageTag", kModule, 0L,
                                        [&] { return daynumber(header->ReceiveDate); });
                if (!latestUnread || day > latestDay) {
                    latestUnread = header.get();
                    latestDay = day;
                }
            });
        }
        caches.removemsgsfromcache(source, gone);
        if (unread > 0) {
            addtounreadtag(target, unread);
            if (latestUnread) AddToLastMessageTag(target, *latestUnread);
            removefromunreadtag(source, unread);
        }
        caches.addmsgstocache(target, arrived);
    });
    return paths;
}

} // namespace corva
