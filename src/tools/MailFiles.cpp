#include "tools/MailFiles.h"

#include "core/FileSubs.h"

namespace corva {

namespace fs = std::filesystem;

bool IsMailFileName(const std::string& name) {
    if (name.size() < 4) return false;
    const char* end = name.c_str() + name.size() - 4;
    return end[0] == '.' && (end[1] | 0x20) == 'e' && (end[2] | 0x20) == 'm' &&
           (end[3] | 0x20) == 'l';
}

MailFiles::MailFiles(const std::string& folder, bool subfolders) : subfolders_(subfolders) {
    std::error_code ec;
    const std::string resolved = ResolvePath(addslash(ToSlashes(folder)));
    if (subfolders_)
        deep_ = fs::recursive_directory_iterator(resolved,
                                                 fs::directory_options::skip_permission_denied, ec);
    else
        flat_ = fs::directory_iterator(resolved, ec);
}

bool MailFiles::next(std::string& path) {
    std::error_code ec;
    auto take = [&](const fs::directory_entry& entry) {
        std::string name = entry.path().filename().string();
        if (!IsMailFileName(name) || !entry.is_regular_file(ec)) return false;
        path = entry.path().string();
        return true;
    };
    if (subfolders_) {
        for (; deep_ != fs::recursive_directory_iterator(); deep_.increment(ec)) {
            if (ec) return false;
            if (take(*deep_)) {
                deep_.increment(ec);
                return true;
            }
        }
        return false;
    }
    for (; flat_ != fs::directory_iterator(); flat_.increment(ec)) {
        if (ec) return false;
        if (take(*flat_)) {
            flat_.increment(ec);
            return true;
        }
    }
    return false;
}

} // namespace corva
