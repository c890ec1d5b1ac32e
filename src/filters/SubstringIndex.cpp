// The automaton behind the substring lists.
#include "filters/SubstringIndex.h"

#include "core/Strings.h"

#include <algorithm>
#include <deque>

namespace corva {

void SubstringIndex::build(const std::vector<std::string>& entries) {
    // The trie is built with one edge list per node, then packed flat.
    std::vector<std::vector<Edge>> trie(1);
    std::vector<uint8_t> terminal(1, 0);
    anyEntry_ = false;
    for (const std::string& entry : entries) {
        if (entry.empty()) continue;
        anyEntry_ = true;
        int32_t node = 0;
        for (char c : entry) {
            const uint8_t b = static_cast<uint8_t>(LowerChar(c));
            auto& out = trie[static_cast<size_t>(node)];
            auto it =
                std::find_if(out.begin(), out.end(), [b](const Edge& e) { return e.byte == b; });
            if (it != out.end()) {
                node = it->target;
                continue;
            }
            const int32_t created = static_cast<int32_t>(trie.size());
            trie[static_cast<size_t>(node)].push_back({b, created});
            trie.emplace_back();
            terminal.push_back(0);
            node = created;
        }
        terminal[static_cast<size_t>(node)] = 1;
    }

    const size_t n = trie.size();
    first_.assign(n + 1, 0);
    edges_.clear();
    edges_.reserve(n);
    for (size_t i = 0; i < n; ++i) {
        auto& out = trie[i];
        std::sort(out.begin(), out.end(),
                  [](const Edge& a, const Edge& b) { return a.byte < b.byte; });
        first_[i] = static_cast<uint32_t>(edges_.size());
        edges_.insert(edges_.end(), out.begin(), out.end());
    }
    first_[n] = static_cast<uint32_t>(edges_.size());
    std::fill(std::begin(root_), std::end(root_), 0);
    for (const Edge& e : trie[0]) root_[e.byte] = e.target;

    fail_.assign(n, 0);
    output_ = terminal;
    std::deque<int32_t> queue;
    for (const Edge& e : trie[0]) queue.push_back(e.target);
    while (!queue.empty()) {
        const int32_t node = queue.front();
        queue.pop_front();
        for (const Edge& e : trie[static_cast<size_t>(node)]) {
            const int32_t f = step(fail_[static_cast<size_t>(node)], e.byte);
            fail_[static_cast<size_t>(e.target)] = f;
            output_[static_cast<size_t>(e.target)] |= output_[static_cast<size_t>(f)];
            queue.push_back(e.target);
        }
    }
}

int32_t SubstringIndex::child(int32_t state, uint8_t byte) const {
    if (state == 0) return root_[byte] ? root_[byte] : -1;
    const Edge* begin = edges_.data() + first_[static_cast<size_t>(state)];
    const Edge* end = edges_.data() + first_[static_cast<size_t>(state) + 1];
    for (const Edge* e = begin; e != end; ++e) {
        if (e->byte == byte) return e->target;
        if (e->byte > byte) break;
    }
    return -1;
}

int32_t SubstringIndex::step(int32_t state, uint8_t byte) const {
    for (;;) {
        const int32_t next = child(state, byte);
        if (next >= 0) return next;
        if (state == 0) return 0;
        state = fail_[static_cast<size_t>(state)];
    }
}

bool SubstringIndex::containsAny(std::string_view text) const {
    if (!anyEntry_) return false;
    int32_t state = 0;
    for (char c : text) {
        state = step(state, static_cast<uint8_t>(LowerChar(c)));
        if (output_[static_cast<size_t>(state)]) return true;
    }
    return false;
}

} // namespace corva
