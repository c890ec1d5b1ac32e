// Answers "does this text contain any of these entries?" without regard to
// case in one pass over the text, however many entries there are. The domain
// lists hold thousands of entries and are asked for every message of a scan.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corva {

// An Aho-Corasick automaton over lower-cased bytes. Empty entries are left out.
class SubstringIndex {
public:
    void build(const std::vector<std::string>& entries);
    bool containsAny(std::string_view text) const;
    bool empty() const { return !anyEntry_; }

private:
    struct Edge {
        uint8_t byte;
        int32_t target;
    };
    int32_t step(int32_t state, uint8_t byte) const;
    int32_t child(int32_t state, uint8_t byte) const;

    // Node n's edges are edges_[first_[n] .. first_[n + 1]), sorted by byte.
    std::vector<uint32_t> first_;
    std::vector<Edge> edges_;
    std::vector<int32_t> fail_;
    std::vector<uint8_t> output_; // an entry ends here or on the fail chain
    int32_t root_[256] = {};      // the root's moves, the most frequent ones
    bool anyEntry_ = false;
};

} // namespace corva
