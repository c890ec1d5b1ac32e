// A fresh folder for one test, removed afterwards, optionally made the program
// folder for the test's duration.
#pragma once

#include <string>

namespace corva::test {

class TempDir {
public:
    TempDir();
    ~TempDir();
    TempDir(const TempDir&) = delete;
    TempDir& operator=(const TempDir&) = delete;
    // The folder, ending in "/".
    const std::string& path() const { return path_; }
    std::string file(const std::string& name) const { return path_ + name; }
    // Makes this folder the program folder and points the log at it.
    void makeProgramFolder();

private:
    std::string path_;
    std::string previousAppPath_;
    bool isProgramFolder_ = false;
};

// Writes a file (creating folders) and reads one, bytes as they are.
void writeFile(const std::string& path, const std::string& bytes);
std::string readFile(const std::string& path);
// A file under tests/data.
std::string dataFile(const std::string& relative);

} // namespace corva::test
