// One folder's list data in memory, kept on disk as cache.csv beside the
// messages so that a big folder opens by reading one file. The file is a cache
// in the strict sense: it may be deleted at any time and is rebuilt from the
// message files.
#pragma once

#include "message/clsMessages.h"

#include <random>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace corva {

inline constexpr const char* CacheFileName = "cache.csv";
inline constexpr const char* CacheSeparator = "|-|";
inline constexpr const char* CacheHeaderLine = "Read|-|Replied|-|Size|-|From|-|To|-|SendDate|-|"
                                               "ReceiveDate|-|Bayes|-|Priority|-|Filename|-|Id|-|"
                                               "Subject";

// What the window shows while a folder is being read.
class CacheView {
public:
    virtual ~CacheView() = default;
    virtual void ShowStatus(const std::string& text) = 0;
    // The progress item of the message list.
    virtual void ShowListProgress(const std::string& text) = 0;
};

class clsCache {
public:
    clsCache();

    // Fills the object for a folder: from cache.csv where it knows the files,
    // from the files' headers where it doesn't. view may be null.
    void fillcache(CacheView* view, const std::string& Path, const std::string& FolderName);
    // true: deletes cache.csv; false: writes it. Then the object is empty and unfilled.
    void Clear(bool deleteDisk);

    long Count() const { return items_.Count(); }
    // By position from 1; nullptr out of range.
    clsMessages::Ptr Item(long index) const { return items_.Item(index); }
    auto begin() const { return items_.begin(); }
    auto end() const { return items_.end(); }

    // Keeps the list fields of a message, under its MessageID (made up when it
    // has none). A second message with the same MessageID is logged and left out.
    void AddMsg(const clsMessage& message, bool fromCache);
    // The first entry whose Filename equals, trimmed and ignoring case.
    void RemoveMsg(const clsMessage& message);
    void RemoveByFilename(const std::string& name);
    // The same for many files in one pass over the entries.
    void RemoveByFilenames(const std::vector<std::string>& names);
    void MarkMsgReadUnread(const std::string& name, bool flag);
    // The same for many files in one pass over the entries.
    void MarkMsgsReadUnread(const std::vector<std::string>& names, bool flag);
    void MarkMsgPriority(const std::string& name, bool flag);
    void MarkMsgRepliedOrNot(const std::string& name, bool flag);

    void WriteCache();
    void ReadCache();
    void DeleteDiskCache();

    const std::string& Path() const { return path_; }
    const std::string& FolderName() const { return folderName_; }
    const std::string& CacheFile() const { return cacheFile_; }
    bool CacheFilling() const { return filling_; }
    bool CacheFilled() const { return filled_; }

    // One line of cache.csv for a message, with its CR LF.
    static std::string CacheRow(const clsMessage& message);
    // A text as a cache field: no line ends, NUL or separator, so that no
    // header can split or shift its row.
    static std::string CacheField(const std::string& text);
    // A made-up identifier for a message that has none.
    std::string MakeMessageID();

private:
    // The folder's files by lower-cased full path, each with the positions in
    // the file list that still wait for a match.
    struct FileIndex {
        struct Positions {
            std::vector<size_t> at; // in list order
            size_t taken = 0;       // the first ones already matched
        };
        std::vector<std::string> files; // full paths, in the lister's order
        std::vector<bool> matched;
        std::unordered_map<std::string, Positions> byLowerPath;
    };
    void readCache(const FileIndex* index);
    void addEntry(clsMessages::Ptr entry);
    long findByFilename(const std::string& name) const;
    void removeAt(long index);

    clsMessages items_;
    bool hasCollection_ = false;
    std::string path_;
    std::string folderName_;
    std::string cacheFile_;
    bool filling_ = false;
    bool filled_ = false;
    // fillcache found something the file doesn't say: it must be written.
    bool stale_ = false;
    std::mt19937 random_;
};

} // namespace corva
