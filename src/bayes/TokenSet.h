// The distinct tokens of one message in the order they first came, each with
// its word table hash. The score fills one per message and empties it in
// place, so a message costs no allocations once it has grown.
#pragma once

#include "bayes/modHash.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corva {

class TokenSet final : public TokenSink {
public:
    void add(std::string_view prefix, std::string_view word) override;
    void clear();
    size_t size() const { return entries_.size(); }
    std::string_view key(size_t i) const {
        return std::string_view(bytes_).substr(entries_[i].offset, entries_[i].length);
    }
    uint64_t hash(size_t i) const { return entries_[i].hash; }

private:
    struct Entry {
        uint64_t hash;
        uint32_t offset, length;
    };
    void grow();

    std::vector<Entry> entries_;
    std::string bytes_; // the keys one after another, the first used_ of them
    size_t used_ = 0;
    std::vector<uint32_t> slots_; // entry number + 1, 0 when free; a power of two long
};

} // namespace corva
