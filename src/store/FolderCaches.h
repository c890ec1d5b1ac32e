// The mailer's set of folder caches, one per folder opened so far, and what
// happens in the store when the scan saves a new message: the folder's tags and
// its cache (in memory when the folder has been opened, else cache.csv) learn
// of it without reading the folder again.
#pragma once

#include "store/clsCache.h"
#include "store/clsMailer.h"

#include <array>
#include <memory>
#include <string>
#include <vector>

namespace corva {

class FolderCaches {
public:
    static constexpr int CacheCount = 100;

    // The cache whose FolderName equals, trimmed and ignoring case; -1 when
    // there is none or the cache is turned off.
    int cacheindex(const std::string& folderName) const;
    // The same by the folder's directory.
    int cacheindexbypath(const std::string& folderPath) const;
    // Fills the first free cache for a folder; -1 when all are taken.
    int createcache(CacheView* view, const std::string& folderPath, const std::string& folderName);
    clsCache& Item(int index) { return caches_.at(static_cast<size_t>(index)); }
    // Clear with deletion for all, after archiving or importing.
    void ClearAllCaches();

    // The folder's cache learns of a message now in the folder. With the folder
    // not open, a row is added to its cache.csv if it has a current one.
    // True when an open folder's cache took it (the view adds a line).
    bool addmsgtocache(const std::string& folderPath, const clsMessage& message);
    void removemsgfromcache(const std::string& folderPath, const std::string& filename);
    // The same for many messages, with cache.csv written or appended to once.
    void addmsgstocache(const std::string& folderPath,
                        const std::vector<std::shared_ptr<clsMessage>>& messages);
    void removemsgsfromcache(const std::string& folderPath,
                             const std::vector<std::string>& filenames);

    // Lists a folder through the mailer: from its cache, made on first sight,
    // or straight from its files for the Outbox (whose content changes behind
    // the window) and with the cache turned off.
    void populatelistview(clsMailer& mailer, CacheView* view, const std::string& folderPath,
                          const std::string& folderName, bool unreadOnly);

    // A message the scan has saved at path in folder: Unread.tag, LastMsg.tag
    // and the cache. True when the folder is open in a cache.
    bool AddNewMessage(const std::string& path, const std::string& folder, clsMessage& message);

private:
    std::array<clsCache, CacheCount> caches_;
};

} // namespace corva
