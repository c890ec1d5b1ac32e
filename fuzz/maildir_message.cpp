// A Maildir or mbox message on its way into the store: line ends made CR LF,
// the header read for the file's name, and back to LF for export.
#include "FuzzSupport.h"

#include "message/clsMessage.h"
#include "tools/modMbox.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    std::string_view text = fuzz::asText(data, size);
    std::string stored = ToStoreLineEnds(text);
    // Text with no CR of its own comes back as it went in.
    if (text.find('\r') == std::string_view::npos && ToUnixLineEnds(stored) != text) std::abort();
    size_t blank = stored.find("\r\n\r\n");
    clsMessage header;
    header.CreateFromText(blank == std::string::npos ? stored + "\r\n\r\n"
                                                     : stored.substr(0, blank) + "\r\n\r\n ",
                          true);
    (void)MboxEntry(stored, header.From, 0);
    return 0;
}
