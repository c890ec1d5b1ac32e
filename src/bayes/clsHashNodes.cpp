// The node allocator of the word tables.
#include "bayes/clsHashNodes.h"

#include <cmath>

namespace corva {

int32_t grownBound(int32_t upperBound, float growth) {
    double grown = std::nearbyint(static_cast<double>(upperBound) * static_cast<double>(growth));
    if (grown <= upperBound) grown = upperBound + 1.0; // a tiny table must still grow
    if (grown > 2147483646.0) grown = 2147483646.0;
    return static_cast<int32_t>(grown);
}

void clsHashNodes::Init(int32_t size, float growth) {
    growth_ = growth;
    bound_ = size < 1 ? 1 : size;
    links_.clear();
    FreeHead = 1;
}

int32_t clsHashNodes::next(int32_t n) const {
    if (static_cast<size_t>(n) < links_.size()) return links_[static_cast<size_t>(n)];
    return n < bound_ ? n + 1 : 0;
}

int32_t clsHashNodes::Alloc() {
    if (bound_ < 1) Init(1, growth_);
    if (FreeHead == 0) {
        // Every node is in use, so none past the old bound has a stored link.
        const int32_t oldBound = bound_;
        bound_ = grownBound(oldBound, growth_);
        FreeHead = oldBound + 1;
    }
    const int32_t n = FreeHead;
    FreeHead = next(n);
    return n;
}

void clsHashNodes::Free(int32_t n) {
    if (n < 1 || n > bound_) return;
    if (links_.size() <= static_cast<size_t>(n)) {
        const size_t from = links_.size();
        links_.resize(static_cast<size_t>(n) + 1);
        for (size_t i = from; i < links_.size(); ++i)
            links_[i] = static_cast<int32_t>(i) < bound_ ? static_cast<int32_t>(i) + 1 : 0;
    }
    links_[static_cast<size_t>(n)] = FreeHead;
    FreeHead = n;
}

void clsHashNodes::Clear() {
    links_.clear();
    links_.shrink_to_fit();
    bound_ = -1;
    FreeHead = 0;
}

} // namespace corva
