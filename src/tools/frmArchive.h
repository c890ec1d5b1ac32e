// Archive: moves old, read mail out of the working folders into dated folders
// under Archive, so that the folders the user works in stay small.
#pragma once

#include "core/DateTime.h"
#include "tools/ToolListener.h"

#include <string>

namespace corva {

struct ArchiveOutcome {
    long Moved = 0;
    long Erased = 0; // empty files
    bool Stopped = false;
};

class frmArchive {
public:
    void setListener(ToolListener* listener) { listener_ = listener ? listener : &none_; }

    // The limit for a chosen year, month and day; a day the month doesn't have
    // moves back until the date lies in that month.
    static DateTime LimitDate(int year, int month, int day);

    // "Archive Now": asks first; false when the user said no.
    bool cmdOK_click(int year, int month, int day);
    // Moves every read message received on or before the limit day.
    ArchiveOutcome archivemail(const DateTime& limit);
    const ArchiveOutcome& Outcome() const { return outcome_; }

    // The folder a message goes to: Archive/Yyyyy/Mmm[ Sent Items]/ under the
    // store, for a message received then, from a folder (relative to the store).
    static std::string TargetFolder(const DateTime& received, const std::string& fromFolder);
    // Folders whose mail never moves: the archive itself, the classifier's,
    // the Outbox and Deleted (relative path, "/" separated, ending in "/").
    static bool SkippedFolder(const std::string& relative);
    // A name over 65 characters is cut down before the file moves.
    static std::string ShortenedBase(const std::string& name);

private:
    ToolListener none_;
    ToolListener* listener_ = &none_;
    ArchiveOutcome outcome_;
};

} // namespace corva
