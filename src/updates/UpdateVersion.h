// What the status file on the update server says: the latest version and
// where to get it. Its first line is "major.minor.revision" with an optional
// suffix; its second the download address, where "@@@" stands for the
// version's digits, optionally followed by a blank and the file's SHA-256.
#pragma once

#include <string>

namespace corva {

struct UpdateVersion {
    bool read = false; // a version could be read from the first line
    long major = 0;
    long minor = 0;
    long revision = 0;
    std::string suffix;
    std::string address;
    std::string sha256; // lower-case hex, "" when the file names none

    // "1.0.91b" as people read it.
    std::string text() const;
};

// Reads a status file; logs "Url set to " and the address.
UpdateVersion ExtractVersion(const std::string& text);

// True when available is newer than running.
bool IsNewerVersion(const UpdateVersion& available, const UpdateVersion& running);

// The running program's own version.
UpdateVersion RunningVersion();

} // namespace corva
