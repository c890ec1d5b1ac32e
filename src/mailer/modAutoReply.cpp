#include "mailer/modAutoReply.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"

#include <algorithm>

namespace corva {
namespace {

// Takes the first line off text when it holds the marker in any case, and
// gives what follows its first ":".
// Any line end counts, since templates written here usually end lines in LF
// alone, and a CR left in the subject would break the header it goes into.
bool takeHeaderLine(std::string& text, const std::string& marker, std::string& value) {
    size_t end = text.find_first_of("\r\n");
    // A template of one line without a line end is all text.
    if (end == std::string::npos) return false;
    std::string line = text.substr(0, end);
    if (InStrNoCase(line, marker) == 0) return false;
    value = line.substr(line.find(':') + 1);
    text.erase(0, end + (text.compare(end, 2, "\r\n") == 0 ? 2 : 1));
    return true;
}

} // namespace

std::string autoReplyFolder() {
    return DataFolder + "AutoReply/";
}

std::vector<std::string> autoReplyTemplates() {
    std::vector<std::string> files;
    guarded("autoReplyTemplates", "modAutoReply", [&] {
        std::vector<std::string> names;
        if (FolderExists(autoReplyFolder())) FillFiles(autoReplyFolder(), "txt", names);
        for (const std::string& name : names) files.push_back(autoReplyFolder() + name);
        std::sort(files.begin(), files.end());
    });
    return files;
}

std::string autoReplyCaption(const std::string& path) {
    return filewithoutext(fileonly(path));
}

AutoReplyTemplate parseAutoReply(const std::string& text, const std::string& folder) {
    AutoReplyTemplate result;
    result.text = text;
    std::string value;
    if (takeHeaderLine(result.text, "subject:", value)) {
        result.hasSubject = true;
        result.subject = value;
    }
    if (takeHeaderLine(result.text, "attachment:", value)) {
        std::string name = Trim(value);
        if (StartsWith(name, "?")) {
            result.chooseAttachment = true;
            if (name.size() > 1) result.chooseFrom = Trim(name.substr(1));
        } else if (!name.empty()) {
            result.attachment = StartsWith(name, "/") ? name : addslash(folder) + name;
        }
    }
    return result;
}

} // namespace corva
