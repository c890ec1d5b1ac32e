// Containers: a .qbx file of messages between "\n.\r\n" separators, read on
// its own and through its .idx of 12-byte records. The input is the index,
// then a NUL, then the container.
#include "FuzzSupport.h"

#include "message/clsMessages.h"
#include "store/modQBX.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    auto pieces = fuzz::split(fuzz::asText(data, size), std::string_view("\0", 1), 2);
    std::string_view index = pieces.size() > 1 ? pieces[0] : std::string_view();
    const std::string container = fuzz::writeFile("Old.qbx", pieces.back());
    const std::string indexPath = fuzz::writeFile("Old.idx", index);
    clsMessages split;
    SplitEmails(container, split);
    clsMessages indexed;
    LoadQBXIndex(indexPath, indexed);
    return 0;
}
