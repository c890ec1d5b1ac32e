// The start-up and shutdown steps that need only the core: the logs, the
// settings with their migrations, and the closing lines. The program's root
// object runs them in its start-up order, between the folder reads of the
// store; the command line runs the same order headless.
#pragma once

#include "platform/Files.h"

#include <memory>
#include <string>

namespace corva {

// The one writer of a program folder: whoever holds corva.lock in it.
struct FolderClaim {
    std::unique_ptr<platform::FolderLock> lock; // held while it lives; null when refused
    std::string refusal;                        // what to tell the user when refused or failed
    bool ok() const { return lock != nullptr; }
};
// Takes corva.lock in the folder, with this process's id in it.
FolderClaim ClaimProgramFolder(const std::string& folder);

// Recreates msglog.txt with "Startup" and log.txt with its header and
// "Corva version ... startup.".
void StartLogs();
// Loads Paths.ini into the paths store (a missing file gives the defaults).
void LoadPathsStore();
// Loads Corva.ini and takes its NoCache flag.
void LoadMainSettings();
// Moves folder keys left in Corva.ini by old versions into Paths.ini.
void MigrateOldSettings();
// Writes the old SIGNATURE key to Sigs/Sig1.txt in the data folder once.
void MigrateSignature();
// Saves Corva.ini, writes the ring of last actions and the closing lines.
void ShutdownCore();

} // namespace corva
