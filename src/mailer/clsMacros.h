// Typed-word expansions from macros.txt in the data folder: one a line, the
// word, a blank, then the expansion. A small lookup kept for a later
// expansion as the user types; nothing calls it from the composer yet.
#pragma once

#include <string>
#include <utility>
#include <vector>

namespace corva {

class clsMacros {
public:
    // The expansion of word (trimmed, ignoring case), or "" when there is none.
    // Reads the file on first use.
    std::string SwapWord(const std::string& word);

    // macros.txt in the data folder unless a path was set.
    std::string FilePath() const;
    void setFilePath(const std::string& path) { path_ = path; }

private:
    void load();
    bool loaded_ = false;
    std::vector<std::pair<std::string, std::string>> macros_;
    std::string path_;
};

} // namespace corva
