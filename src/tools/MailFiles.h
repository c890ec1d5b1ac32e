// Walks a folder's message files one at a time, through its sub-folders when
// asked, so that a search over a store of any size holds one path at a time.
#pragma once

#include <filesystem>
#include <string>

namespace corva {

class MailFiles {
public:
    // Files whose extension is ".eml" in any case, in the file system's order.
    MailFiles(const std::string& folder, bool subfolders);
    // The next file's path; false when there are no more.
    bool next(std::string& path);

private:
    bool subfolders_;
    std::filesystem::directory_iterator flat_;
    std::filesystem::recursive_directory_iterator deep_;
};

// True for a name ending in ".eml", in any case.
bool IsMailFileName(const std::string& name);

} // namespace corva
