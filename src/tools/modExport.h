// Export: a folder of the store written out as one mbox file, which other
// clients (and our own import) read back message for message.
#pragma once

#include "tools/ToolListener.h"

#include <string>

namespace corva {

struct ExportOutcome {
    long Exported = 0;
    bool Written = false;
    bool Stopped = false;
};

// Every .eml file of the folder, in name order, into the mbox file, which is
// written whole (atomically) at the end; a stopped run writes what it had.
ExportOutcome ExportFolderToMbox(const std::string& folder, const std::string& mboxFile,
                                 ToolListener& listener);

} // namespace corva
