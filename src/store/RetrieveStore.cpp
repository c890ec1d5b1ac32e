#include "store/RetrieveStore.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"

#include <filesystem>

namespace corva {

namespace {
constexpr const char* Module = "RetrieveStore";

size_t nameKey(const std::string& name) {
    return std::hash<std::string>{}(LCase(name));
}
} // namespace

void RetrieveStore::reset() {
    resolved_.clear();
    names_.clear();
}

std::string RetrieveStore::destinationPath(const std::string& messageFolder,
                                           const std::string& destination) {
    std::string relative = ToSlashes(destination);
    while (!relative.empty() && relative.front() == '/') relative.erase(0, 1);
    if (Trim(relative).empty()) relative = InboxFolder;
    return addslash(ResolvePath(messageFolder + relative));
}

std::string RetrieveStore::folder(const std::string& messageFolder,
                                  const std::string& destination) {
    const std::string key = messageFolder + '\n' + destination;
    if (auto known = resolved_.find(key); known != resolved_.end()) return known->second;
    return guardedValue("folder", Module, std::string(), [&] {
        std::string path = destinationPath(messageFolder, destination);
        MkMissingDir(path);
        if (!FolderExists(path)) return std::string();
        resolved_[key] = path;
        return path;
    });
}

RetrieveStore::Names& RetrieveStore::namesIn(const std::string& folder) {
    auto [it, added] = names_.try_emplace(folder);
    if (added) {
        std::error_code ec;
        for (const auto& entry : std::filesystem::directory_iterator(folder, ec))
            it->second.insert(nameKey(entry.path().filename().string()));
        if (ec) {
            names_.erase(it);
            throw RunError(Err::PathFileAccess, ec.message());
        }
    }
    return it->second;
}

std::string RetrieveStore::unusedPath(const std::string& folder, bool read,
                                      const std::string& subject) {
    return guardedValue("unusedPath", Module, std::string(), [&] {
        const Names& names = namesIn(folder);
        return getunusedfilename(read, folder, subject, ".eml", [&](const std::string& name) {
            return names.count(nameKey(name)) > 0;
        });
    });
}

bool RetrieveStore::write(const std::string& path, const std::string& text, bool durable) {
    if (!WriteFileExactly(path, text, durable)) {
        reset();
        return false;
    }
    auto folder = names_.find(pathonly(path));
    if (folder != names_.end()) folder->second.insert(nameKey(fileonly(path)));
    return true;
}

} // namespace corva
