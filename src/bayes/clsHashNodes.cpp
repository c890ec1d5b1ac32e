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
    if (size < 1) size = 1;
    Next.assign(static_cast<size_t>(size) + 1, 0);
    for (int32_t i = 1; i < size; ++i) Next[i] = i + 1;
    Next[size] = 0;
    FreeHead = 1;
}

int32_t clsHashNodes::Alloc() {
    if (Next.empty()) Init(1, growth_);
    if (FreeHead == 0) {
        int32_t oldBound = UpperBound();
        int32_t newBound = grownBound(oldBound, growth_);
        Next.resize(static_cast<size_t>(newBound) + 1);
        for (int32_t i = oldBound + 1; i < newBound; ++i) Next[i] = i + 1;
        Next[newBound] = 0;
        FreeHead = oldBound + 1;
    }
    int32_t n = FreeHead;
    FreeHead = Next[n];
    return n;
}

void clsHashNodes::Free(int32_t n) {
    if (n < 1 || n > UpperBound()) return;
    Next[n] = FreeHead;
    FreeHead = n;
}

void clsHashNodes::Clear() {
    Next.clear();
    Next.shrink_to_fit();
    FreeHead = 0;
}

} // namespace corva
