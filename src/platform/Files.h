// Writing files safely: whole replacement by rename, writes over a file where
// it stands, owner-only modes, a private temporary folder and the lock that
// keeps one writer per program folder. The logic never opens a file for
// writing by itself; it comes here, so a test can put a full disk under it.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace corva::platform {

// How far a written file is taken towards the disk before the call returns.
enum class Durability {
    Cached,  // left to the system's own writeback
    Started, // writeback begun at once, not waited for
    Synced,  // on the disk (file and folder entry) before the call returns
};

// Why a file operation failed, in the terms the logic reacts to.
enum class FileError {
    None,
    DiskFull,
    Access,    // permission, read-only file system, a folder in the way
    NotFound,  // a folder on the way is missing
    BadName,   // a name too long or otherwise not allowed
    Exists,    // createExclusive found the file there
    WritesOff, // this process was told to write nothing (a read-only command)
    NotAFile,  // readFile found a FIFO, a device or a folder
    Other,
};

struct FileResult {
    FileError error = FileError::None;
    std::string detail; // the system's own words, for the log
    bool ok() const { return error == FileError::None; }
    explicit operator bool() const { return ok(); }
};

// A file written from its start, in order, without being emptied first; what
// stood beyond the last byte written goes at finish().
class OutputFile {
public:
    virtual ~OutputFile() = default;
    virtual bool write(std::string_view bytes) = 0;
    // Cuts the file where writing stopped and closes it; an error of any
    // earlier write is reported here too. Called again, it does nothing.
    virtual FileResult finish() = 0;
};

// The program folder's lock, held while the object lives.
class FolderLock {
public:
    virtual ~FolderLock() = default;
};

struct LockAttempt {
    std::unique_ptr<FolderLock> lock; // null when refused or failed
    long ownerPid = 0;                // the live process that holds it, when refused
    FileResult result;
};

// What readFile found: the bytes read, the file's whole length and when it
// was last written (seconds since 1970).
struct FileContents {
    std::string bytes;
    long long length = 0;
    long long modified = 0;
};

class Files {
public:
    virtual ~Files() = default;

    // Reads the first limit bytes (all when negative) of a regular file. A
    // FIFO or device named like a message is refused without waiting on it.
    virtual FileResult readFile(const std::string& path, long long limit,
                                FileContents& contents) = 0;

    // Replaces the file with exactly these bytes: a temporary file in the same
    // folder (owner-only), written in slices of a megabyte, taken towards the
    // disk as durability says, renamed over the name, then the folder synced.
    // The name always shows the whole old or the whole new file; on failure
    // the old one stays and the temporary file is removed. betweenSlices, when
    // set, runs after each slice but the last (an event pass).
    virtual FileResult replace(const std::string& path, std::string_view bytes,
                               Durability durability = Durability::Synced,
                               const std::function<void()>& betweenSlices = {}) = 0;
    // Replaces several files, each as replace does with Synced: every
    // temporary file is written with its writeback begun before any is waited
    // for, and each folder is synced once, so a batch costs the disk about one
    // flush rather than one per file. Results in the order given.
    virtual std::vector<FileResult>
    replaceAll(const std::vector<std::pair<std::string, std::string_view>>& files) {
        std::vector<FileResult> results;
        for (const auto& [path, bytes] : files) results.push_back(replace(path, bytes));
        return results;
    }
    // Writes over the file where it stands and cuts it to length (created
    // owner-only when missing). No rename, so no folder update: for small
    // files that can be rebuilt, where a torn write costs only a recount.
    virtual FileResult overwrite(const std::string& path, std::string_view bytes) = 0;
    // Appends, creating the file owner-only when missing.
    virtual FileResult append(const std::string& path, std::string_view bytes) = 0;
    // Opens for writing from the start without emptying the file; a leftover
    // we may not write to is replaced. Null with result set on failure.
    virtual std::unique_ptr<OutputFile> openOverwrite(const std::string& path,
                                                      FileResult& result) = 0;
    // Creates an empty owner-only file only if the name is free; Exists when
    // it was taken already.
    virtual FileResult createExclusive(const std::string& path) = 0;
    // Creates the folder and any missing parents, owner-only.
    virtual FileResult makeFolder(const std::string& path) = 0;
    // Narrows an existing file to owner read and write, a folder to owner only.
    virtual FileResult restrictToOwner(const std::string& path) = 0;
    // A folder only this process uses, made owner-only on first call and
    // removed with its contents when the process ends normally. "" if it
    // could not be made.
    virtual std::string privateTempFolder() = 0;
    // Takes the lock file at path, with this process's id in it. A lock left
    // by a process that no longer runs is taken over.
    virtual LockAttempt lock(const std::string& path) = 0;

    // Off: every write above fails with WritesOff and touches nothing. A
    // command that only reads turns writes off, so nothing it calls can
    // write behind its back.
    void setWritesAllowed(bool allowed) { writesAllowed_ = allowed; }
    bool writesAllowed() const { return writesAllowed_; }

private:
    bool writesAllowed_ = true;
};

// The files of the POSIX system under us; the platform's default.
Files& systemFiles();

} // namespace corva::platform
