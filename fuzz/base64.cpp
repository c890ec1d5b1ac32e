// Base64 decoding as attachments and encoded words reach it.
#include "message/Base64.h"
#include "message/modMIME.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    std::string out = corva::vbDecodeMime64(text);
    if (out.size() > text.size()) std::abort();
    // The raw entry with a buffer of exactly the size it promises to need.
    if (size > 0) {
        long highest = static_cast<long>(size) - 1;
        std::vector<unsigned char> buffer(static_cast<size_t>(highest / 4 * 3 + 3));
        long n = corva::cDecode64(data, buffer.data(), highest);
        if (n < 0 || static_cast<size_t>(n) > buffer.size()) std::abort();
    }
    return 0;
}
