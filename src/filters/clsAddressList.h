// One block or ignore list: an ordered collection of addresses or domains
// keyed by their lower-case text, its file, and the index its test reads.
// The tests answer exactly as a walk over the entries would, without one.
#pragma once

#include "filters/SubstringIndex.h"

#include <string>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace corva {

class clsAddressList {
public:
    enum class Match {
        Exact,    // the address equals an entry, both trimmed, case ignored
        Substring // the address contains an entry, case ignored
    };
    explicit clsAddressList(Match match) : match_(match) {}

    // Empties the list and reads the file, each line in lower case. A missing
    // file leaves the list empty; a blank or repeated line is reported and skipped.
    void Load(const std::string& path);
    // One entry a line; an empty list deletes the file instead. False on failure.
    bool Save(const std::string& path) const;
    // Throws RunError 457 when the key exists, 5 for an empty key.
    void Add(const std::string& text);
    // Throws RunError 5 when there is no such key.
    void Remove(const std::string& text);

    bool Test(const std::string& address) const;
    bool Contains(const std::string& text) const; // by key
    const std::vector<std::string>& Items() const { return items_; }
    size_t Count() const { return items_.size(); }
    void Clear();

private:
    void indexAdd(const std::string& item);
    void indexRemove(const std::string& item);

    Match match_;
    std::vector<std::string> items_;
    // The file the last load could not read: saving over it would lose it.
    std::string unreadFile_;
    std::unordered_set<std::string> keys_; // lower case, as given otherwise
    // Exact: how many entries have each trimmed lower-case form.
    std::unordered_map<std::string, int> exact_;
    // Substring: rebuilt on the first test after a change.
    mutable SubstringIndex substrings_;
    mutable bool stale_ = false;
};

} // namespace corva
