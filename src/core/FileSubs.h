// File and folder operations. Paths use "/"; a "\" in a name read from a file
// is accepted as a separator. Names resolve without regard to case where an
// exact match is missing, as the store's files were named on a system that
// ignored case.
#pragma once

#include "core/DateTime.h"
#include "platform/Files.h"

#include <cstdint>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace corva {

// "\" becomes "/".
std::string ToSlashes(std::string_view path);
// The path as it exists on disk, each component matched without regard to case
// when the exact one is missing. A component with no match is kept as given.
std::string ResolvePath(const std::string& path);

bool FileExists(const std::string& path);
bool FolderExists(const std::string& path);
void MkMissingDir(const std::string& path);
// Up to and with the last "/"; "./" when there is none.
std::string pathonly(const std::string& name);
std::string fileonly(const std::string& name);
std::string extonly(const std::string& name);
std::string filewithoutext(const std::string& name);
std::string fileroot(const std::string& name);
std::string fileexpath(const std::string& name);
// Appends "/" to a non-empty path that does not end in one.
std::string addslash(const std::string& path);
// Makes a text fit to be a file name (in place); see the .cpp for the rules.
void cleanstring(std::string& text);
// A path in folder that does not exist yet; the case of the file's own name
// carries the read state: lower case when lowerCase, else upper case.
std::string getunusedfilename(bool lowerCase, const std::string& folder, const std::string& base,
                              const std::string& extension);
// The same, asking taken(lower-case name) instead of the disk, for a caller
// that already knows the folder's names.
std::string getunusedfilename(bool lowerCase, const std::string& folder, const std::string& base,
                              const std::string& extension,
                              const std::function<bool(const std::string&)>& taken);
// Copies in blocks, keeping the file date; progress is told the file name now and then.
bool copyfile(const std::string& source, const std::string& destination,
              const std::function<void(const std::string&)>& progress = {});
bool movefile(const std::string& source, const std::string& destination);
bool isReadOnly(const std::string& path);
bool MakeReadWrite(const std::string& path);
bool EraseFile(const std::string& path);
long long FileSize(const std::string& path);
DateTime FileDate(const std::string& path);
bool SetFileDate(const std::string& path, const DateTime& date);
// Whole file to text and back, bytes as they are.
bool LoadTextFile(const std::string& path, std::string& text);
std::string LoadTextFile(const std::string& path);
bool WriteTextFile(const std::string& path, const std::string& text);
bool AppendToTextFile(const std::string& path, const std::string& text);
// Writes to a temporary file beside the target and renames it over, so the
// target is either the old or the new text, never half of one. sync waits
// for the disk first; files that can be rebuilt (tags, caches) skip the wait.
// A file that holds the text already is left alone. Every writer here creates
// files owner-only; a failed write is logged and leaves the old file whole.
bool WriteFileAtomically(const std::string& path, const std::string& text, bool sync = true);
// The same under exactly the name given, never matched without regard to
// case: a message file's name carries its read state, and the other spelling
// may still stand beside it.
bool WriteFileExactly(const std::string& path, const std::string& text, bool sync = true);
// Writes over the file where it stands and cuts it to length: no new file,
// no rename, so no directory update. For small files that can be rebuilt
// (tags), where a torn write costs a recount and a new file per change would
// cost a disk wait. A tag that holds the text already is not written.
bool WriteFileInPlace(const std::string& path, const std::string& text);

// How far a written file is taken towards the disk before the call returns.
using platform::Durability;
// WriteFileExactly (synced) for many files at once, at about the disk's cost
// of one: each file is whole under its name or not written. Per file, true
// when it was written.
std::vector<bool> WriteFilesExactly(const std::vector<std::pair<std::string, std::string>>& files);
// WriteFileExactly for big texts: written in slices of a megabyte, with an
// event pass after each when yield is set, and the writeback of each slice
// begun as soon as it is written, so that no single wait is long.
bool WriteFileInSlices(const std::string& path, const std::string& text, Durability durability,
                       bool yield);
long long CountLines(const std::string& path);
// Copies the file to NAME.bak, atomically, before a loader that could not read
// it all leaves it alone; false when there was nothing to copy or the copy failed.
bool CopyToBackup(const std::string& path);
// Every write that failed in this run is counted and logged here, so that a
// command can exit non-zero when something it meant to save was not saved.
void NoteFailedWrite(const std::string& procedure, const std::string& detail);
int FailedWrites();

struct FileRecord {
    std::string Name;
    std::string Folder;
    long long Size = 0;
};

// Files of a folder whose extension occurs in types (ignoring case; empty types
// lists only files without extension ... and see the .cpp), optionally only
// newer or older than a date. The order is the file system's.
void FillFiles(const std::string& folder, const std::string& types, std::vector<std::string>& files,
               bool onlyNewer = false, bool onlyOlder = false, const DateTime& date = DateTime(),
               std::vector<FileRecord>* details = nullptr);
void fillfolders(const std::string& folder, std::vector<std::string>& folders);
void fillfoldersrecursed(const std::string& folder, std::vector<std::string>& folders);
void fillfilesrecursed(const std::string& folder, const std::string& types,
                       std::vector<std::string>& files);
// Asks the desktop to open a file; false on failure.
bool RunFile(const std::string& file, const std::string& parameters = "");

} // namespace corva
