#include "bayes/TokenSet.h"

#include <algorithm>

namespace corva {

void TokenSet::add(std::string_view prefix, std::string_view word) {
    // An empty key is a free node in a table: it never counts.
    if (prefix.empty() && word.empty()) return;
    if ((entries_.size() + 1) * 2 > slots_.size()) grow();
    // The key is written where it would stay, and taken back if it is there already.
    const size_t offset = bytes_.size();
    bytes_.append(prefix);
    bytes_.append(word);
    const std::string_view token = std::string_view(bytes_).substr(offset);
    const uint64_t hash = KeyHash(token);
    const size_t mask = slots_.size() - 1;
    for (size_t pos = static_cast<size_t>(hash) & mask;; pos = (pos + 1) & mask) {
        const uint32_t slot = slots_[pos];
        if (slot == 0) {
            entries_.push_back(
                Entry{hash, static_cast<uint32_t>(offset), static_cast<uint32_t>(token.size())});
            slots_[pos] = static_cast<uint32_t>(entries_.size());
            return;
        }
        if (entries_[slot - 1].hash == hash && key(slot - 1) == token) {
            bytes_.resize(offset);
            return;
        }
    }
}

void TokenSet::clear() {
    const size_t mask = slots_.size() - 1;
    for (size_t i = 0; i < entries_.size(); ++i) {
        size_t pos = static_cast<size_t>(entries_[i].hash) & mask;
        while (slots_[pos] != i + 1) pos = (pos + 1) & mask;
        slots_[pos] = 0;
    }
    entries_.clear();
    bytes_.clear();
}

void TokenSet::grow() {
    slots_.assign(std::max<size_t>(slots_.size() * 2, 256), 0);
    const size_t mask = slots_.size() - 1;
    for (size_t i = 0; i < entries_.size(); ++i) {
        size_t pos = static_cast<size_t>(entries_[i].hash) & mask;
        while (slots_[pos] != 0) pos = (pos + 1) & mask;
        slots_[pos] = static_cast<uint32_t>(i + 1);
    }
}

} // namespace corva
