// Where the program's own read-only data lives: beside the executable as
// installed (<prefix>/share/corva), at the configured install prefix, and in
// the source tree for a build that was never installed.
#pragma once

#include <string>
#include <vector>

namespace corva::platform::qt {

// The existing folders named sub under those places, each once, best first.
std::vector<std::string> programDataFolders(const std::string& sub);

} // namespace corva::platform::qt
