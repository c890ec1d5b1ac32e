// "corva show FILE.eml": what the mailer's preview pane shows for a message,
// on the terminal: the header strip, any warning, the text, its links and the
// attachment menu.
#include "app/Command.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "core/mSHAREDSettings.h"
#include "mailer/MessageDisplay.h"
#include "message/clsMessage.h"

#include <iostream>
#include <string>

namespace corva::app {
namespace {

// The preview's text is UTF-8 already; control characters still must not
// reach the terminal.
std::string safe(const std::string& utf8) {
    return terminalText(utf8, "utf-8");
}

int run(CommandArgs& args) {
    std::string file, text;
    if (auto status = readOneFile(args, "corva show FILE.eml", file, text)) return *status;
    if (!HomeOption().empty()) {
        std::string ini = addslash(HomeOption()) + "Corva.ini";
        if (FileExists(ini)) LoadSettings(ini);
    }
    clsMessage m;
    m.CreateFromText(text, false);
    PreviewContent shown = buildPreview(m);

    std::ostream& o = std::cout;
    for (const std::string& line : shown.headerLines) o << terminalLine(line, "utf-8") << "\n";
    if (!shown.warningLine.empty()) {
        o << "[!] " << safe(shown.warningLine) << "\n";
        for (const std::string& line : SplitLines(warningText(shown)))
            o << "    " << safe(line) << "\n";
    }
    o << "\n";
    // The blanks the pane keeps before line ends only help it find links.
    for (const std::string& line : SplitLines(shown.text)) o << safe(RTrim(line)) << "\n";
    if (!shown.links.empty()) {
        o << "\nLinks:\n";
        for (size_t i = 0; i < shown.links.size(); ++i)
            o << "  " << i + 1 << ". "
              << terminalLine(shown.text.substr(shown.links[i].start, shown.links[i].length),
                              "utf-8")
              << "\n";
    }
    if (!shown.attachments.empty()) {
        o << "\nAttachments:\n";
        for (size_t i = 0; i < shown.attachments.size(); ++i)
            o << "  " << i + 1 << ". " << terminalLine(shown.attachments[i], "utf-8") << "\n";
    }
    return 0;
}

const CommandRegistration registration({
    "show",
    "corva show FILE.eml",
    "Show a mail file as the mailer's preview shows it",
    "Prints the header strip (From, To, Cc, Subject), the warning the [!] button\n"
    "gives when the message holds suspicious code or a link whose text names\n"
    "another site than it leads to, the text decoded by its charset, the links\n"
    "found in it and the attachments with their sizes. Writes nothing.",
    run,
});

} // namespace
} // namespace corva::app
