// Import: brings mail from elsewhere into the store's Imported folder. A
// folder of .eml files is copied file by file; an mbox file and a Maildir
// folder (what other clients export) become one .eml file per message. The
// source is never changed.
#pragma once

#include "store/RetrieveStore.h"
#include "tools/ToolListener.h"

#include <string>

namespace corva {

enum class ImportSource { EmlFolder, Maildir, Mbox, Missing };

struct ImportOutcome {
    long Imported = 0;
    long Failed = 0; // messages that could not be written
    bool Stopped = false;
};

class frmImportMail {
public:
    void setListener(ToolListener* listener) { listener_ = listener ? listener : &none_; }

    // The setting that remembers the last source.
    static std::string LastSource();
    // A regular file is an mbox; a folder with cur or new in it is a Maildir.
    static ImportSource SourceKind(const std::string& source);
    // The Imported folder under the store, ending in "/".
    static std::string ImportedFolder();

    // Imports from source (a folder, a Maildir or an mbox file), through the
    // sub-folders when asked, and remembers the source.
    ImportOutcome cmdimport_click(const std::string& source, bool subfolders);
    const ImportOutcome& Outcome() const { return outcome_; }

private:
    void importEmlFolder(const std::string& source, bool subfolders);
    void importMaildir(const std::string& source, bool subfolders);
    void importMbox(const std::string& source);
    // Writes one message read from an mbox or Maildir under a name of its subject.
    void storeMessage(const std::string& text);
    void step(int percent);
    void finish();

    ToolListener none_;
    ToolListener* listener_ = &none_;
    ImportOutcome outcome_;
    std::string folder_;
    long unread_ = 0;
    int shownPercent_ = -1;
    RetrieveStore store_;
};

} // namespace corva
