// folders.ini: pairs of lines, a folder's text then its parent's, turned into
// the folder tree's events.
#include "FuzzSupport.h"

#include "core/Globals.h"
#include "store/clsMailer.h"
#include "store/modFolders.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    fuzz::writeFile("Messages/folders.ini", fuzz::asText(data, size));
    clsMailer mailer;
    mailer.PopulateFolders(false);
    (void)removecount("Inbox (3)");
    std::vector<std::string> folders;
    FillMailFolders(folders);
    for (const std::string& f : folders) (void)relativefolder(MessageFolder + f);
    return 0;
}
