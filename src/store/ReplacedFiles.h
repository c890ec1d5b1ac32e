// Message files that a batch save has replaced with a new spelling of their
// name. Freeing a file's blocks can take milliseconds on a disk that discards
// them at once, so a thousand in a row would hold the window for seconds:
// each is renamed out of its folder at once (the folder is right from then
// on) into the process's private temporary folder, and removed there a few
// at a time while the program is idle. Whatever is left when the owner ends
// goes with that folder when the process ends.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace corva {

namespace platform {
class Timer;
}

class ReplacedFiles {
public:
    ReplacedFiles();
    ~ReplacedFiles();
    ReplacedFiles(const ReplacedFiles&) = delete;
    ReplacedFiles& operator=(const ReplacedFiles&) = delete;

    // Takes the file out of its folder now; it is removed at once when it
    // can't be moved aside (another file system, no temporary folder).
    void setAside(const std::string& path);
    // Removes set-aside files for about budgetMs; true when none are left.
    bool removeSome(int budgetMs);
    size_t pending() const { return aside_.size() - next_; }

private:
    std::vector<std::string> aside_;
    size_t next_ = 0; // aside_[next_ ...] still exist
    // Made with the platform in force at the first file; the owner lives
    // within that platform's time.
    std::unique_ptr<platform::Timer> timer_;
};

} // namespace corva
