#include "bayes/TokenSet.h"

#include "bayes/KeyHash.h"

#include <algorithm>
#include <cstring>

namespace corva {

namespace {

// memcpy for the short pieces of a token, without a library call: fixed-size
// copies that overlap where the length is not a power of two.
inline void copyPiece(char* to, const char* from, size_t n) {
    if (n >= 8 && n <= 16) {
        std::memcpy(to, from, 8);
        std::memcpy(to + n - 8, from + n - 8, 8);
    } else if (n >= 4 && n < 8) {
        std::memcpy(to, from, 4);
        std::memcpy(to + n - 4, from + n - 4, 4);
    } else if (n < 4) {
        for (size_t i = 0; i < n; ++i) to[i] = from[i];
    } else {
        std::memcpy(to, from, n);
    }
}

} // namespace

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
    copyPiece(at, prefix.data(), prefix.size());
    copyPiece(at + prefix.size(), word.data(), word.size());
    const std::string_view token(at, length);
    const uint64_t hash = keyhash::of(token);
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
        const Entry& known = entries_[slot - 1];
        if (known.hash == hash && known.length == length &&
            std::memcmp(bytes_.data() + known.offset, at, length) == 0)
            return;
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
