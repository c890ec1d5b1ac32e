// The chain of replacements that undoes encoded header words.
#include "message/modMIME.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    (void)corva::isodecode(std::string(reinterpret_cast<const char*>(data), size));
    return 0;
}
