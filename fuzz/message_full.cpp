// A whole message through the reader, then everything that reads its result.
#include "message/clsMessage.h"
#include "message/modMIME.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string text(reinterpret_cast<const char*>(data), size);
    corva::clsMessage m;
    m.CreateFromText(text, false);
    (void)corva::extractplainmessage(m);
    for (int i = 1; i <= m.MimePartCount(); ++i) {
        (void)corva::HtmlPartToPlainText(m, i);
        (void)corva::DecodedPartText(m, i);
    }
    m.Read = (size & 1) != 0;
    m.Replied = (size & 2) != 0;
    m.HighPriority = (size & 4) != 0;
    m.TagAsSpam();
    m.RemoveReceiveDate();
    (void)m.RawMessage();
    // A second parse on the same object keeps some fields and resets others.
    m.CreateFromText(text.substr(size / 2), false);
    return 0;
}
