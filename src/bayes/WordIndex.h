// The word table as the score reads it straight from HashTable.dat: the
// file's text kept whole and an open-addressing index from a key's hash to the
// probability of its last record, which is what a table loaded from the file
// finds. One read, no allocation per word, and a lookup is one probe mostly.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>

namespace corva {

class WordIndex {
public:
    // Reads the file; false when it is missing or can't be read (the failure
    // and any value out of range recorded as the table's own load records them).
    bool Load(const std::string& path);
    void Clear();
    // Records read, a key's repeats included: what a loaded table's MaxIndex says.
    int32_t Records() const { return static_cast<int32_t>(entries_.size()); }
    // The file as read.
    const std::string& Text() const { return text_; }
    // The probability of a key whose KeyHash is hash; null when it has none.
    const float* Find(std::string_view key, uint64_t hash) const {
        if (slots_.empty()) return nullptr;
        const size_t mask = slots_.size() - 1;
        const auto tag = static_cast<uint32_t>(hash >> 32);
        for (size_t pos = static_cast<size_t>(hash) & mask;; pos = (pos + 1) & mask) {
            const Slot& slot = slots_[pos];
            if (slot.entry == 0) return nullptr;
            if (slot.tag != tag) continue;
            const Entry& e = entries_[slot.entry - 1];
            if (e.length == key.size() &&
                std::memcmp(text_.data() + e.offset, key.data(), e.length) == 0)
                return &e.value;
        }
    }

private:
    struct Entry {
        uint32_t offset, length;
        float value;
    };
    struct Slot {
        uint32_t tag = 0;   // the high half of the key's hash
        uint32_t entry = 0; // entry number + 1, 0 when free
    };
    std::string_view keyOf(uint32_t entry) const {
        return std::string_view(text_).substr(entries_[entry].offset, entries_[entry].length);
    }
    void index();

    std::string text_;
    std::vector<Entry> entries_;
    std::vector<Slot> slots_; // a power of two long, at most 70% full
};

} // namespace corva
