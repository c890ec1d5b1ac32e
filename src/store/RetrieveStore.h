// Where a cycle stores the messages it retrieves. Finding a message's folder
// on disk, making sure it exists and testing names against it used to be done
// afresh for every message and cost more system calls than writing the
// message; here each folder is resolved and listed once, and what was learned
// is kept until the cycle ends.
#pragma once

#include <cstddef>
#include <string>
#include <unordered_map>
#include <unordered_set>

namespace corva {

class RetrieveStore {
public:
    // Forgets every folder: at the end of a cycle, and after a failed write,
    // so that the next message looks at the disk again.
    void reset();

    // The folder for a rule's destination (relative to messageFolder; "" is
    // the Inbox), resolved without regard to case; it ends in "/".
    static std::string destinationPath(const std::string& messageFolder,
                                       const std::string& destination);
    // The same, made when missing and remembered; "" when it can't be made.
    std::string folder(const std::string& messageFolder, const std::string& destination);

    // A path in folder (as folder() gave it) that no file takes in any case,
    // named after the subject; upper case for an unread message.
    std::string unusedPath(const std::string& folder, bool read, const std::string& subject);

    // Writes the message whole under path, on the disk before its name when
    // durable; the name counts as taken from then on.
    bool write(const std::string& path, const std::string& text, bool durable);

    // How many folders are remembered (tests).
    size_t foldersKnown() const { return resolved_.size(); }

private:
    // Lower-case names of a folder, as hashes: a collision only makes a name
    // look taken, and the next number is tried.
    using Names = std::unordered_set<size_t>;
    Names& namesIn(const std::string& folder);

    std::unordered_map<std::string, std::string> resolved_; // destination key -> folder
    std::unordered_map<std::string, Names> names_;          // folder -> its names
};

} // namespace corva
