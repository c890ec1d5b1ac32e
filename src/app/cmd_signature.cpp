// "corva signature": shows or sets the signature the composer puts under a
// message, as the signature editor does.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "mailer/modSignatures.h"

#include <iostream>
#include <iterator>

namespace corva::app {
namespace {

constexpr const char* Usage = "corva signature [--folder FOLDER] [--set FILE|-] | --numbered";

int run(CommandArgs& args) {
    const auto folderName = args.option("--folder", "a mail folder");
    const auto source = args.option("--set", "a file");
    const bool numbered = args.flag("--numbered");
    if (numbered && (folderName || source)) args.problem("--numbered stands alone");
    if (auto status = args.refused(Usage, 0, 0)) return *status;
    std::string text;
    if (source && *source == "-") {
        text.assign(std::istreambuf_iterator<char>(std::cin), std::istreambuf_iterator<char>());
    } else if (source && (!FileExists(*source) || !LoadTextFile(*source, text))) {
        std::cerr << "Can't read " << *source << "\n";
        return 1;
    }

    HeadlessSession session;
    if (numbered) {
        for (const auto& [number, path] : numberedSignatures()) std::cout << path << "\n";
        return 0;
    }
    std::string folder = MessageFolder;
    if (folderName) {
        std::string relative = ToSlashes(Trim(*folderName));
        while (!relative.empty() && relative.front() == '/') relative.erase(0, 1);
        folder = addslash(ResolvePath(addslash(MessageFolder + relative)));
        if (relative.empty() || !FolderExists(folder))
            return RefuseWith("signature", "no folder \"" + terminalLine(*folderName) + "\" in " +
                                               terminalLine(MessageFolder) +
                                               " ('corva folders' lists them)");
    }
    frmSig sig(folder);
    if (!source) {
        // A folder without its own file signs with the default.
        if (folderName && !FileExists(folderSignaturePath(folder))) {
            std::cerr << "No signature of its own; messages there take the default:\n";
            sig.cmdReadDefault_Click();
        }
        std::cout << terminalText(sig.Text);
        if (!sig.Text.empty() && !EndsWith(sig.Text, "\n")) std::cout << "\n";
        return 0;
    }
    // The editor's field holds CRLF lines, as every mail text does.
    sig.Text = Replace(Replace(text, "\r\n", "\n"), "\n", "\r\n");
    if (!sig.cmdOK_Click()) {
        std::cerr << "Could not write " << folderSignaturePath(folder) << "\n";
        return 1;
    }
    std::cout << "Wrote " << terminalLine(folderSignaturePath(folder)) << "\n";
    return 0;
}

const CommandRegistration registration({
    "signature",
    Usage,
    "Show or set the signature under new mail, replies and forwards",
    "Without --folder it is the default signature, sig.txt in the mail folder; with\n"
    "--folder it is that folder's own sig.txt, which signs replies to and forwards\n"
    "of the messages there (shown: the default when the folder has none). --set\n"
    "writes the text of FILE (- reads standard input) as the signature.\n"
    "--numbered lists the numbered signatures (Sigs/SigN.txt in the data folder),\n"
    "which the composer's signature menu offers.",
    run,
});

} // namespace
} // namespace corva::app
