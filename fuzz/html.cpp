// Tag stripping, character references and the word cleaner on any bytes.
#include "message/modTextConvert.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    std::string a = text;
    corva::striphtml(a);
    if (a.size() > text.size()) std::abort(); // stripping never lengthens
    std::string b = text;
    corva::htmltochar(b);
    if (b.size() > text.size()) std::abort(); // each reference is longer than its byte
    std::string c = text;
    corva::htmlconsttochar(c);
    std::string d = text;
    corva::RemoveChar(d, text.substr(0, 1));
    (void)corva::CleanWord(text);
    return 0;
}
