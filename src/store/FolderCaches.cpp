#include "store/FolderCaches.h"

#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "localise/modLanguages.h"
#include "store/modTags.h"

#include <cstdio>

namespace corva {

namespace {

const char* kModule = "frmMailer";

bool samePath(const std::string& a, const std::string& b) {
    return EqualsNoCase(addslash(ToSlashes(Trim(a))), addslash(ToSlashes(Trim(b))));
}

// Appends rows to a folder's cache.csv, only when the file is one this
// version wrote: a row in another column order would be misread.
void appendCacheRows(const std::string& folder, const std::string& rows) {
    if (rows.empty()) return;
    std::string file = ResolvePath(addslash(ResolvePath(folder)) + CacheFileName);
    FILE* f = std::fopen(file.c_str(), "rb");
    if (!f) return;
    std::string head(std::string(CacheHeaderLine).size() + 2, '\0');
    size_t got = std::fread(head.data(), 1, head.size(), f);
    std::fseek(f, 0, SEEK_END);
    long length = std::ftell(f);
    char last = 0;
    if (length > 0) {
        std::fseek(f, length - 1, SEEK_SET);
        last = static_cast<char>(std::fgetc(f));
    }
    std::fclose(f);
    if (got != head.size() || head != std::string(CacheHeaderLine) + "\r\n") return;
    // A truncated last row stays a damaged row of its own, not the start of these.
    if (!AppendToTextFile(file, (last == '\n' ? "" : "\r\n") + rows))
        throw RunError(Err::PathFileAccess, file);
}

// A row for a folder that isn't open: a message without an identifier gets one.
std::string closedFolderRow(const clsMessage& message) {
    if (!message.MessageID.empty()) return clsCache::CacheRow(message);
    clsMessage withId = message;
    static clsCache idMaker;
    withId.MessageID = idMaker.MakeMessageID();
    return clsCache::CacheRow(withId);
}

} // namespace

int FolderCaches::cacheindex(const std::string& folderName) const {
    if (NoCacheFlag) return -1;
    for (int i = 0; i < CacheCount; ++i) {
        const clsCache& c = caches_[static_cast<size_t>(i)];
        if ((c.CacheFilled() || c.CacheFilling()) &&
            EqualsNoCase(Trim(c.FolderName()), Trim(folderName)))
            return i;
    }
    return -1;
}

int FolderCaches::cacheindexbypath(const std::string& folderPath) const {
    if (NoCacheFlag) return -1;
    std::string resolved = ResolvePath(addslash(ToSlashes(folderPath)));
    for (int i = 0; i < CacheCount; ++i) {
        const clsCache& c = caches_[static_cast<size_t>(i)];
        if ((c.CacheFilled() || c.CacheFilling()) && samePath(c.Path(), resolved)) return i;
    }
    return -1;
}

int FolderCaches::createcache(CacheView* view, const std::string& folderPath,
                              const std::string& folderName) {
    for (int i = 0; i < CacheCount; ++i) {
        clsCache& c = caches_[static_cast<size_t>(i)];
        if (c.CacheFilled() || c.CacheFilling()) continue;
        if (view) view->ShowStatus(gettranslation("Scanning mail folder..."));
        c.fillcache(view, folderPath, folderName);
        return i;
    }
    return -1;
}

void FolderCaches::ClearAllCaches() {
    for (auto& c : caches_) c.Clear(true);
}

void FolderCaches::populatelistview(clsMailer& mailer, CacheView* view,
                                    const std::string& folderPath, const std::string& folderName,
                                    bool unreadOnly) {
    int index = -1;
    guarded("populatelistview", kModule, [&] {
        if (NoCacheFlag || EqualsNoCase(Trim(folderName), OutboxFolder)) return;
        index = cacheindex(folderName);
        if (index >= 0) return;
        if (view) view->ShowListProgress("Scanning messages...");
        index = createcache(view, folderPath, folderName);
    });
    if (index >= 0)
        mailer.PopulateFromCache(Item(index), unreadOnly);
    else
        mailer.PopulateMessageList(folderPath, unreadOnly);
}

bool FolderCaches::addmsgtocache(const std::string& folderPath, const clsMessage& message) {
    return guardedValue("addmsgtocache", kModule, false, [&] {
        int i = cacheindexbypath(folderPath);
        if (i >= 0) {
            clsCache& c = Item(i);
            long before = c.Count();
            c.AddMsg(message, false);
            if (c.Count() == before) return false;
            if (!c.CacheFilling()) {
                // The new row goes to the end of the file as it goes to the
                // end of the collection, so appending gives what WriteCache would.
                if (FileExists(c.CacheFile()))
                    appendCacheRows(folderPath, clsCache::CacheRow(*c.Item(c.Count())));
                else
                    c.WriteCache();
            }
            return true;
        }
        if (NoCacheFlag) return false;
        appendCacheRows(folderPath, closedFolderRow(message));
        return false;
    });
}

void FolderCaches::addmsgstocache(const std::string& folderPath,
                                  const std::vector<std::shared_ptr<clsMessage>>& messages) {
    guarded("addmsgtocache", kModule, [&] {
        std::string rows;
        int i = cacheindexbypath(folderPath);
        if (i < 0) {
            if (NoCacheFlag) return;
            for (const auto& message : messages) rows += closedFolderRow(*message);
            appendCacheRows(folderPath, rows);
            return;
        }
        clsCache& c = Item(i);
        bool added = false;
        for (const auto& message : messages) {
            long before = c.Count();
            c.AddMsg(*message, false);
            if (c.Count() == before) continue;
            added = true;
            rows += clsCache::CacheRow(*c.Item(c.Count()));
        }
        if (!added || c.CacheFilling()) return;
        if (FileExists(c.CacheFile()))
            appendCacheRows(folderPath, rows);
        else
            c.WriteCache();
    });
}

void FolderCaches::removemsgfromcache(const std::string& folderPath, const std::string& filename) {
    guarded("removemsgfromcache", kModule, [&] {
        int i = cacheindexbypath(folderPath);
        if (i >= 0) Item(i).RemoveByFilename(filename);
    });
}

void FolderCaches::removemsgsfromcache(const std::string& folderPath,
                                       const std::vector<std::string>& filenames) {
    guarded("removemsgfromcache", kModule, [&] {
        int i = cacheindexbypath(folderPath);
        if (i >= 0) Item(i).RemoveByFilenames(filenames);
    });
}

bool FolderCaches::AddNewMessage(const std::string& path, const std::string& folder,
                                 clsMessage& message) {
    return guardedValue("addnewmessage", kModule, false, [&] {
        // Only unread mail counts: a message saved as read would make the tag drift.
        if (!message.Read) addtounreadtag(folder, 0);
        if (Trim(message.ReceiveDate).empty())
            message.ReceiveDate = DateTime::now().format("yyyy-mm-dd hh:nn:ss");
        AddToLastMessageTag(folder, message);
        message.setFilename(path);
        return addmsgtocache(folder, message);
    });
}

} // namespace corva
