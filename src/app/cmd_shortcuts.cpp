// "corva shortcuts": the ten texts of the composer's shortcut keys, shown or
// set as the "Setup Shortcut Keys" window does.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "mailer/frmShortcuts.h"

#include <iostream>

namespace corva::app {
namespace {

constexpr const char* Usage = "corva shortcuts [--set N TEXT]";

int run(CommandArgs& args) {
    const auto entry = args.option("--set", "a number from 1 to 10");
    if (auto status = args.refused(Usage, entry ? 1 : 0, entry ? 1 : 0)) return *status;
    int number = 0;
    if (entry) {
        const std::string digits = Trim(*entry);
        if (!digits.empty() && digits.size() <= 2 &&
            digits.find_first_not_of("0123456789") == std::string::npos)
            number = std::stoi(digits);
        if (number < 1 || number > frmShortcuts::Count)
            return RefuseWith("shortcuts", "--set needs a number from 1 to 10");
    }
    HeadlessSession session;
    frmShortcuts shortcuts;
    shortcuts.Form_Load();
    if (entry) {
        shortcuts.setText(number, args.rest().front());
        shortcuts.cmdOK_Click();
    }
    for (int i = 1; i <= frmShortcuts::Count; ++i)
        std::cout << i << (i < 10 ? "   " : "  ") << terminalLine(shortcuts.Text(i)) << "\n";
    return 0;
}

const CommandRegistration registration({
    "shortcuts",
    Usage,
    "Show or set the texts of the composer's shortcut keys",
    "While writing, Alt with a digit puts in the text of key Shortcut_<digit> of\n"
    "Corva.ini. The ten entries shown and set here are Shortcut_1 to Shortcut_10,\n"
    "as the composer's \"Setup Shortcut Keys\" window edits them: Alt+1 to Alt+9\n"
    "type entries 1 to 9, entry 10 is typed by no key, and Alt+0 types\n"
    "Shortcut_0, which only an edit of Corva.ini changes.",
    run,
});

} // namespace
} // namespace corva::app
