// Mail merge: one message per row of a data file, made from a template whose
// tags are the data file's column names, spooled to the Outbox for the next
// upload. Nothing is sent here.
#pragma once

#include "tools/ToolListener.h"

#include <string>
#include <vector>

namespace corva {

class frmSendMailWrapper;

// The small dialog: two paths and "Go".
class frmMailMerge {
public:
    std::string DataFile;
    std::string TemplateFile;

    // Reads the last two paths from the settings.
    void Form_Load();
    // Checks the files (each failure is a box) and keeps the paths; true when
    // the merge may go on.
    bool cmdGo_click();
    bool Confirmed() const { return confirmed_; }

private:
    bool confirmed_ = false;
};

// What DoMailMerge asks of its caller: the dialog, and its progress.
class MailMergeView : public ToolListener {
public:
    // Shows the dialog; false when it was cancelled.
    virtual bool ShowDialog(frmMailMerge& dialog) {
        (void)dialog;
        return false;
    }
};

struct MergeOutcome {
    bool Ran = false;     // the checks passed and rows were processed
    bool Stopped = false; // Stop or Ctrl-C ended it between rows; what was spooled stays
    long Saved = 0;
    long Invalid = 0;
    std::string Report;
};

// The template with every column name replaced, in any case and column by
// column, by the row's trimmed part. parts must be at least as many as header.
std::string MergeRow(const std::vector<std::string>& header, const std::vector<std::string>& parts,
                     const std::string& templateText);

// Shows the dialog, merges, and reports the outcome in a box.
MergeOutcome DoMailMerge(MailMergeView& view);
// The same once the dialog is done, leaving the report to the caller; the
// command line starts here. The listener's Stop is asked after each row.
MergeOutcome DoMailMerge(const frmMailMerge& dialog, ToolListener& listener);

} // namespace corva
