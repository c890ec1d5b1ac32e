// A folder's tag files: the unread count and the day of the newest message,
// read, counted on and rewritten as mail arrives and is read.
#include "FuzzSupport.h"

#include "message/clsMessage.h"
#include "store/modTags.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/stat.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    static const std::string folder = [] {
        ::mkdir((fuzz::folder() + "Messages/Tagged").c_str(), 0700);
        return fuzz::folder() + "Messages/Tagged/";
    }();
    std::string_view text = fuzz::asText(data, size);
    fuzz::writeFile("Messages/Tagged/Unread.tag", text);
    fuzz::writeFile("Messages/Tagged/LastMsg.tag", text);
    (void)readunreadtag(folder);
    (void)readlastmessagetag(folder);
    addtounreadtag(folder, 3);
    removefromunreadtag(folder, 2);
    clsMessage arrived;
    arrived.ReceiveDate = std::string(text.substr(0, 64));
    AddToLastMessageTag(folder, arrived);
    (void)ShowUnreadOnly(folder);
    return 0;
}
