#include "app/MailerCommands.h"

#include "app/Command.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/TerminalText.h"

#include <filesystem>
#include <set>

namespace corva::app {

std::string folderArgument(const std::string& name) {
    std::string relative = ToSlashes(name);
    while (!relative.empty() && relative.front() == '/') relative.erase(0, 1);
    return addslash(ResolvePath(addslash(MessageFolder) + relative));
}

std::optional<int> openFolderArgument(frmMailer& mailer, CommandMailerView& view,
                                      const std::string& command, const std::string& name) {
    mailer.setView(&view);
    if (mailer.OpenFolder(folderArgument(name))) return std::nullopt;
    mailer.setView(nullptr);
    return NoSuchFolder(command, name);
}

int NoSuchFolder(const std::string& command, const std::string& name) {
    return RefuseWith(command, "no folder \"" + terminalLine(name) + "\" in " +
                                   terminalLine(MessageFolder) + " ('corva folders' lists them)");
}

std::map<std::string, std::vector<std::string>> filesByFolder(const std::vector<std::string>& files,
                                                              std::vector<std::string>& missing) {
    std::map<std::string, std::vector<std::string>> groups;
    for (const auto& file : files) {
        std::string path = ResolvePath(ToSlashes(file));
        if (!FileExists(path)) {
            missing.push_back(file);
            continue;
        }
        std::error_code ec;
        std::string absolute = std::filesystem::absolute(path, ec).lexically_normal().string();
        groups[pathonly(absolute)].push_back(absolute);
    }
    return groups;
}

std::vector<std::string> selectFiles(frmMailer& mailer, CommandMailerView& view,
                                     const std::string& folder,
                                     const std::vector<std::string>& files) {
    if (!mailer.OpenFolder(folder)) return files;
    // Opening selected the last row, as a click does; the command's files replace it.
    view.selection.clear();
    std::set<std::string> wanted;
    for (const auto& f : files) wanted.insert(LCase(f));
    std::set<std::string> found;
    for (long r = 0; r < mailer.RowCount(); ++r) {
        std::string key = LCase(mailer.Row(r).Path);
        if (wanted.count(key)) {
            view.selection.push_back(r);
            found.insert(key);
        }
    }
    std::vector<std::string> left;
    for (const auto& f : files)
        if (!found.count(LCase(f))) left.push_back(f);
    return left;
}

long takeFiles(frmMailer& mailer, CommandMailerView& view, const std::vector<std::string>& names,
               std::vector<std::string>& missing,
               const std::function<void(const std::string& folder,
                                        const std::vector<std::string>& files)>& take) {
    long taken = 0;
    for (const auto& [folder, files] : filesByFolder(names, missing)) {
        std::vector<std::string> left = selectFiles(mailer, view, folder, files);
        missing.insert(missing.end(), left.begin(), left.end());
        const long before = mailer.RowCount();
        take(folder, files);
        taken += before - mailer.RowCount();
    }
    return taken;
}

} // namespace corva::app
