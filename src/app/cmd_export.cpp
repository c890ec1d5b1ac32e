// "corva export FOLDER --mbox FILE": a folder of the store as one mbox file.
#include "app/Command.h"
#include "app/ToolProgress.h"
#include "tools/modExport.h"

#include <iostream>

namespace corva::app {
namespace {

constexpr const char* Usage = "corva export FOLDER --mbox FILE";

int run(CommandArgs& args) {
    const auto file = args.option("--mbox", "a file");
    if (!file) args.problem("--mbox FILE is needed");
    if (auto status = args.refused(Usage, 1, 1)) return *status;

    HeadlessSession session;
    auto folder = StoreFolder(args.rest().front());
    if (!folder)
        return RefuseWith("export", "no folder \"" + terminalLine(args.rest().front()) + "\" in " +
                                        terminalLine(MessageFolder) +
                                        " ('corva folders' lists them)");
    ToolProgress progress;
    const ExportOutcome outcome = ExportFolderToMbox(*folder, *file, progress);
    progress.clear();
    if (!outcome.Written) {
        std::cerr << "corva export: could not write " << terminalLine(*file) << "\n";
        return 1;
    }
    std::cout << (outcome.Stopped ? "Export stopped. " : "Export Complete. ") << outcome.Exported
              << " message(s) written to " << terminalLine(*file) << "\n";
    return outcome.Stopped ? 1 : 0;
}

const CommandRegistration registration({
    "export",
    Usage,
    "Write a mail folder's messages into one mbox file",
    "FOLDER is a folder under the store (or a full path); its .eml files are\n"
    "written in name order, each opened by a \"From \" line with the sender and the\n"
    "date sent, with LF line ends and lines beginning \"From \" quoted as \">From \"\n"
    "(mboxrd), so that importing the file gives back each message byte for byte.\n"
    "The file is written whole, through a temporary file, at the end; Ctrl-C stops\n"
    "and writes the messages done so far (exit status 1).",
    run,
});

} // namespace
} // namespace corva::app
