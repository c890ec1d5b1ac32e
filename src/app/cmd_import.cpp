// "corva import": the import window's "Import", also for mbox files and Maildirs.
#include "app/Command.h"
#include "app/ToolProgress.h"
#include "tools/frmImportMail.h"

#include <iostream>

namespace corva::app {
namespace {

constexpr const char* Usage = "corva import DIR|FILE.mbox [--subfolders]";

int run(CommandArgs& args) {
    const bool subfolders = args.flag("--subfolders");
    if (auto status = args.refused(Usage, 1, 1)) return *status;
    const std::string source = args.rest().front();
    if (frmImportMail::SourceKind(source) == ImportSource::Missing)
        return RefuseWith("import", "no file or folder \"" + terminalLine(source) + "\"");

    HeadlessSession session;
    ToolProgress progress;
    frmImportMail import;
    import.setListener(&progress);
    const ImportOutcome outcome = import.cmdimport_click(source, subfolders);
    import.setListener(nullptr);
    progress.clear();
    std::cout << (outcome.Stopped ? "Import stopped. " : "Import Complete. ") << outcome.Imported
              << " message(s) imported into " << terminalLine(frmImportMail::ImportedFolder())
              << "\n";
    if (outcome.Failed) std::cerr << outcome.Failed << " message(s) could not be imported\n";
    return outcome.Stopped || outcome.Failed ? 1 : 0;
}

const CommandRegistration registration({
    "import",
    Usage,
    "Bring mail into the Imported folder from .eml files, an mbox file or a Maildir",
    "DIR is a folder of .eml files (copied under their own names, a taken name\n"
    "getting a new one; --subfolders reads the folders below too) or a Maildir\n"
    "(a folder with cur and new; --subfolders takes the Maildirs below it).\n"
    "FILE.mbox is an mbox file as other clients export it (\">From \" quoting is\n"
    "undone). Messages from an mbox or Maildir are stored one file each, named\n"
    "after the subject, unread, with the store's CR LF line ends. The source is\n"
    "never changed and the folder is remembered for the import window. Ctrl-C\n"
    "stops between messages and keeps what was imported (exit status 1).",
    run,
});

} // namespace
} // namespace corva::app
