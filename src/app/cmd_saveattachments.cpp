// "corva save-attachments FILE.eml DIR": every attachment of a mail file saved
// into one folder, under names cleaned so that none can lead outside it.
#include "app/Command.h"
#include "core/FileSubs.h"
#include "mailer/MessageDisplay.h"
#include "message/clsMessage.h"
#include "platform/Platform.h"

#include <iostream>
#include <string>

namespace corva::app {
namespace {

constexpr const char* Usage = "corva save-attachments FILE.eml DIR";

int run(CommandArgs& args) {
    if (auto status = args.refused(Usage, 2, 2)) return *status;
    const std::string file = args.rest()[0];
    const std::string folder = args.rest()[1];
    std::string text;
    if (!FileExists(file) || !LoadTextFile(file, text)) {
        std::cerr << "Can't read " << file << "\n";
        return 1;
    }
    if (!platform::current().files().makeFolder(folder)) {
        std::cerr << "Can't make the folder " << folder << "\n";
        return 1;
    }
    clsMessage m;
    m.CreateFromText(text, false);
    int named = 0;
    for (int i = 1; i <= m.MimePartCount(); ++i)
        if (!m.MimePart(i).SectionName.empty()) ++named;
    std::vector<std::string> written = saveAllAttachments(m, folder);
    for (const std::string& path : written) std::cout << path << "\n";
    if (named == 0) std::cout << "No attachments.\n";
    return static_cast<int>(written.size()) == named ? 0 : 1;
}

const CommandRegistration registration({
    "save-attachments",
    Usage,
    "Save every attachment of a mail file into a folder",
    "Writes each attachment into DIR (made when missing) and prints the paths\n"
    "written. Names are cleaned first: folder parts, \"..\", control characters\n"
    "and characters other systems refuse are dropped, long names shortened with\n"
    "their extension kept, and two attachments of one name both kept (\"a (2).txt\").\n"
    "An existing file of the same name is replaced. Exits 1 if any could not be written.",
    run,
});

} // namespace
} // namespace corva::app
