// The anchor finder and the host readers on any bytes: the ranges they cut
// must stay inside the text, and a link never names a host longer than itself.
#include "mailer/HtmlAnchors.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    for (const corva::HtmlAnchor& anchor : corva::findAnchors(text)) {
        if (corva::linkHost(anchor.href).size() > anchor.href.size()) std::abort();
        (void)corva::hostNamedIn(anchor.text);
    }
    (void)corva::misleadingLinks(text);
    if (corva::linkHost(text).size() > text.size()) std::abort();
    (void)corva::hostNamedIn(text);
    return 0;
}
