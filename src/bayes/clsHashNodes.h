// Free-list allocator over node numbers (from 1) for the word tables: a freed
// node is handed out again before the arrays grow.
#pragma once

#include <cstdint>
#include <vector>

namespace corva {

class clsHashNodes {
public:
    // Links 1 to 2, 2 to 3 ... and the last to 0; the free list starts at 1.
    void Init(int32_t size, float growth);
    // The head of the free list; on an empty list the numbers grow by the factor first.
    int32_t Alloc();
    // Puts n back at the head of the free list.
    void Free(int32_t n);
    void Clear();

    int32_t FreeHead = 0;
    int32_t UpperBound() const { return bound_; }

private:
    // The link after n. Links are stored only from the first Free on: until
    // then every node links to the next number, so a table sized for hundreds
    // of thousands of nodes costs nothing for those it never uses.
    int32_t next(int32_t n) const;

    std::vector<int32_t> links_; // index 0 unused; links past its end are n + 1
    int32_t bound_ = -1;         // -1 until initialised
    float growth_ = 1.5f;
};

// Upper bound times the growth factor, rounded half to even, as the tables grow.
int32_t grownBound(int32_t upperBound, float growth);

} // namespace corva
