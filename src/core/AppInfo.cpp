#include "core/AppInfo.h"

#include "platform/Platform.h"
#include "platform/SystemName.h"

#include <cstdlib>
#include <filesystem>

namespace corva {

namespace {
std::string& appPath() {
    static std::string path = [] {
        std::error_code ec;
        std::string cwd = std::filesystem::current_path(ec).string();
        return cwd.empty() ? std::string("./") : cwd + "/";
    }();
    return path;
}
} // namespace

const std::string& AppTitle() {
    static const std::string title = "Corva";
    return title;
}
const std::string& AppVersion() {
#ifdef CORVA_VERSION
    static const std::string version = CORVA_VERSION;
#else
    static const std::string version = "0.0.0";
#endif
    return version;
}
const std::string& MakerName() {
    static const std::string name = "Tarnwick Software";
    return name;
}
const std::string& MakerSite() {
    static const std::string site = "https://corva.tarnwick.example/";
    return site;
}
const std::string& SupportAddress() {
    static const std::string address = "support@corva.tarnwick.example";
    return address;
}

const std::string& AppPath() {
    return appPath();
}

void SetAppPath(const std::string& folder) {
    std::string f = folder;
    if (!f.empty() && f.back() != '/') f += '/';
    appPath() = f;
}

std::string ChooseProgramFolder(const std::string& homeOption) {
    std::string folder = homeOption;
    if (folder.empty()) {
        if (const char* env = std::getenv("CORVA_HOME"); env && *env) folder = env;
    }
    if (folder.empty()) {
        if (const char* xdg = std::getenv("XDG_DATA_HOME"); xdg && *xdg)
            folder = std::string(xdg) + "/corva";
        else if (const char* home = std::getenv("HOME"); home && *home)
            folder = std::string(home) + "/.local/share/corva";
        else
            folder = "./corva";
    }
    // Owner-only, and not made at all by a run that writes nothing. A folder
    // an older version left open to everyone is closed: nothing in it is
    // then reachable by other users, whatever the modes inside.
    platform::current().files().makeFolder(folder);
    platform::current().files().restrictToOwner(folder);
    std::error_code ec;
    std::string absolute = std::filesystem::absolute(folder, ec).lexically_normal().string();
    if (!absolute.empty()) folder = absolute;
    if (folder.back() != '/') folder += '/';
    return folder;
}

std::string fosname() {
    return platform::systemName();
}

} // namespace corva
