// The result of a word table lookup. Not found reads Value -1, Key "-1", Index 0,
// the form every caller tests.
#pragma once

#include <cstdint>
#include <string>

namespace corva {

class clsHashRec {
public:
    std::string Key = "-1";
    float Value = -1.0f;
    int32_t Index = 0;

    bool found() const { return Index != 0; }
};

} // namespace corva
