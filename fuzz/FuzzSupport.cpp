// Start of every fuzz target. Nothing may land in a real program folder or
// log, so all paths point into a folder of our own, removed at exit.
#include "FuzzSupport.h"

#include "core/AppInfo.h"
#include "core/Globals.h"
#include "core/mSHAREDLogging.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace corva::fuzz {

namespace {

std::string& folderPath() {
    static std::string path;
    return path;
}

void removeFolder() {
    std::error_code ignored;
    if (!folderPath().empty()) std::filesystem::remove_all(folderPath(), ignored);
}

} // namespace

const std::string& folder() {
    std::string& path = folderPath();
    if (path.empty()) {
        const char* tmp = std::getenv("TMPDIR");
        std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/corva-fuzz-XXXXXX";
        if (!mkdtemp(pattern.data())) {
            std::perror("corva fuzz: no private folder");
            std::abort();
        }
        path = pattern + "/";
        ::mkdir((path + "Messages").c_str(), 0700);
        std::atexit(removeFolder);
    }
    return path;
}

std::string writeFile(const std::string& name, std::string_view bytes) {
    std::string path = folder() + name;
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    return path;
}

std::string_view asText(const uint8_t* data, size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

std::vector<std::string_view> split(std::string_view input, std::string_view separator,
                                    size_t maxPieces) {
    std::vector<std::string_view> pieces;
    while (pieces.size() + 1 < maxPieces) {
        size_t at = input.find(separator);
        if (at == std::string_view::npos) break;
        pieces.push_back(input.substr(0, at));
        input.remove_prefix(at + separator.size());
    }
    pieces.push_back(input);
    return pieces;
}

} // namespace corva::fuzz

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    umask(077);
    corva::SetLogFileOverride("/dev/null");
    // Settings and logs that a library saves on its own go there too.
    corva::SetAppPath(corva::fuzz::folder());
    corva::UseDefaultFolders(corva::fuzz::folder());
    return 0;
}
