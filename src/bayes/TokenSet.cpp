#include "bayes/TokenSet.h"

#include <algorithm>
#include <cstring>

namespace corva {

void TokenSet::add(std::string_view prefix, std::string_view word) {
    // An empty key is a free node in a table: it never counts.
    const size_t length = prefix.size() + word.size();
    if (length == 0) return;
    if ((entries_.size() + 1) * 2 > slots_.size()) grow();
    // The key is written where it would stay, and left there only if it is new.
    const size_t offset = used_;
    if (offset + length > bytes_.size())
        bytes_.resize(std::max(bytes_.size() * 2, offset + length));
    char* at = bytes_.data() + offset;
    if (!prefix.empty()) std::memcpy(at, prefix.data(), prefix.size());
    if (!word.empty()) std::memcpy(at + prefix.size(), word.data(), word.size());
    const std::string_view token(at, length);
    const uint64_t hash = KeyHash(token);
    const size_t mask = slots_.size() - 1;
    for (size_t pos = static_cast<size_t>(hash) & mask;; pos = (pos + 1) & mask) {
        const uint32_t slot = slots_[pos];
        if (slot == 0) {
            entries_.push_back(
                Entry{hash, static_cast<uint32_t>(offset), static_cast<uint32_t>(length)});
            slots_[pos] = static_cast<uint32_t>(entries_.size());
            used_ += length;
            return;
        }
        if (entries_[slot - 1].hash == hash && key(slot - 1) == token) return;
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
    used_ = 0;
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
