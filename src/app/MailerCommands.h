// What the mailer's commands share: the mailer of a headless session with a
// view whose selection is the files the command names.
#pragma once

#include "mailer/frmMailer.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace corva::app {

class CommandMailerView : public frmMailerView {
public:
    std::vector<long> SelectedRows() const override { return selection; }
    void SelectRows(const std::vector<long>& rows, long) override { selection = rows; }
    void ShowStatus(const std::string& text) override { statuses.push_back(text); }

    std::vector<long> selection;
    std::vector<std::string> statuses;
};

// A folder named on the command line ("Inbox", "Inbox/Work", either
// separator) as its directory under the message folder, ending in "/".
std::string folderArgument(const std::string& name);
// The refusal of a folder name that names no mail folder: status 2.
int NoSuchFolder(const std::string& command, const std::string& name);

// Sets the view and opens the folder named on the command line. When there is
// no such folder it says so, unsets the view and gives the status 2.
std::optional<int> openFolderArgument(frmMailer& mailer, CommandMailerView& view,
                                      const std::string& command, const std::string& name);

// The files grouped by their folder, each as the store spells it; a file
// that doesn't exist goes to missing.
std::map<std::string, std::vector<std::string>> filesByFolder(const std::vector<std::string>& files,
                                                              std::vector<std::string>& missing);

// Opens the folder in the mailer and selects the rows of these files; the
// files it doesn't list are returned.
std::vector<std::string> selectFiles(frmMailer& mailer, CommandMailerView& view,
                                     const std::string& folder,
                                     const std::vector<std::string>& files);

// Selects the files folder by folder and has take act on each selection,
// giving how many rows left their folders; the files not listed go to missing.
long takeFiles(frmMailer& mailer, CommandMailerView& view, const std::vector<std::string>& names,
               std::vector<std::string>& missing,
               const std::function<void(const std::string& folder,
                                        const std::vector<std::string>& files)>& take);

} // namespace corva::app
