// What a command may do in the program folder: a command that only reads
// writes nothing at all there, and one that writes must be its one writer.
#pragma once

#include "core/Startup.h"

#include <string>
#include <vector>

namespace corva::app {

struct Command;

// The commands the help calls read-only, by their name and remaining words.
bool CommandOnlyReads(const std::string& command, const std::vector<std::string>& words);

// For the length of a command: writes turned off for one that only reads,
// the folder's lock for one that writes. Choose the program folder only once
// this exists, so a reading command does not even create it.
class FolderAccess {
public:
    FolderAccess(const std::string& command, const std::vector<std::string>& words);
    ~FolderAccess();
    FolderAccess(const FolderAccess&) = delete;
    FolderAccess& operator=(const FolderAccess&) = delete;
    // False when another process holds the folder: the refusal is printed, the command exits 1.
    bool granted() const { return readOnly_ || claim_.ok(); }
    // The command's exit status, made 1 when a file it meant to save was not saved.
    int finish(int status) const;

private:
    bool readOnly_;
    FolderClaim claim_;
};

// Runs a command as both programs do once their platform is installed: one
// that changes settings or lists is refused while a window runs, and the
// folder is held for its length. The exit status.
int RunInFolder(const Command& command, const std::vector<std::string>& words,
                const std::string& home);

} // namespace corva::app
