// The scan's path: headers only, then the stripped bodies built without parts.
#include "message/clsMessage.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    corva::clsMessage m;
    m.CreateFromText(std::string(reinterpret_cast<const char*>(data), size), true);
    m.CreateStripped();
    (void)m.RawMessage();
    return 0;
}
