// The mail files of a store folder, for tests that check where messages went.
#pragma once

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <string>
#include <vector>

namespace corva::test {

// The names of the .eml files (in any case) in a folder, sorted; none when it is missing.
inline std::vector<std::string> emlFilesIn(const std::string& folder) {
    std::vector<std::string> names;
    std::error_code ec;
    for (const auto& e : std::filesystem::directory_iterator(folder, ec)) {
        std::string ext = e.path().extension().string();
        std::transform(ext.begin(), ext.end(), ext.begin(),
                       [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
        if (ext == ".eml") names.push_back(e.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace corva::test
