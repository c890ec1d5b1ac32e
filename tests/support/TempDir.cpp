#include "support/TempDir.h"

#include "core/AppInfo.h"
#include "core/mSHAREDLogging.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace fs = std::filesystem;

namespace corva::test {

TempDir::TempDir() {
    std::string pattern = (fs::temp_directory_path() / "corva-test-XXXXXX").string();
    if (!mkdtemp(pattern.data())) throw std::runtime_error("mkdtemp failed");
    path_ = pattern + "/";
}

TempDir::~TempDir() {
    if (isProgramFolder_) {
        SetAppPath(previousAppPath_);
        SetLogFileOverride("");
    }
    std::error_code ec;
    // Restore write permission so a test that made something read-only can be cleaned.
    for (auto it = fs::recursive_directory_iterator(path_, ec); !ec && it != fs::end(it);
         it.increment(ec))
        fs::permissions(it->path(), fs::perms::owner_all, fs::perm_options::add, ec);
    fs::remove_all(path_, ec);
}

void TempDir::makeProgramFolder() {
    previousAppPath_ = AppPath();
    isProgramFolder_ = true;
    SetAppPath(path_);
    SetLogFileOverride("");
    ResetLastActions();
}

void writeFile(const std::string& path, const std::string& bytes) {
    fs::create_directories(fs::path(path).parent_path());
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::ostringstream ss;
    ss << in.rdbuf();
    return ss.str();
}

std::string dataFile(const std::string& relative) {
    return std::string(CORVA_TEST_DATA) + "/" + relative;
}

} // namespace corva::test
