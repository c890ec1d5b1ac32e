// mbox files from other clients: every message read must survive being
// written back out and read again byte for byte, and the reader must never
// lose its place in a file of any shape.
#include "FuzzSupport.h"

#include "tools/modMbox.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    std::istringstream in{std::string(fuzz::asText(data, size))};
    MboxReader reader(in);
    std::vector<std::string> messages;
    for (std::string m; reader.next(m);) messages.push_back(m);
    if (reader.position() > size) std::abort();

    std::string written;
    for (const auto& m : messages)
        if (m.find('\r') == std::string::npos && !m.empty() && m.back() == '\n')
            written += "From x Mon Jan  1 00:00:00 2024\n" + QuoteFromLines(m) + "\n";
    std::istringstream again(written);
    MboxReader second(again);
    size_t i = 0;
    for (std::string m; second.next(m); ++i) {
        while (i < messages.size() && (messages[i].find('\r') != std::string::npos ||
                                       messages[i].empty() || messages[i].back() != '\n'))
            ++i;
        if (i >= messages.size() || m != messages[i]) std::abort();
    }
    return 0;
}
