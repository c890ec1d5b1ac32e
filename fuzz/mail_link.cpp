// Mail links from the desktop or a second start, on any bytes: the fields a
// link fills never hold a line end outside the body, and the body's line ends
// are all CRLF.
#include "instance/MailLink.h"

#include "core/Strings.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <optional>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    if (corva::PercentDecode(text).size() > text.size()) std::abort();
    std::optional<corva::MailLink> link = corva::ParseMailLink(text);
    if (!link) return 0;
    for (const std::string* field : {&link->to, &link->cc, &link->bcc, &link->subject})
        if (field->find_first_of("\r\n") != std::string::npos) std::abort();
    for (size_t i = 0; i < link->body.size(); ++i) {
        const bool lf = link->body[i] == '\n', cr = link->body[i] == '\r';
        if (lf && (i == 0 || link->body[i - 1] != '\r')) std::abort();
        if (cr && (i + 1 >= link->body.size() || link->body[i + 1] != '\n')) std::abort();
    }
    return 0;
}
