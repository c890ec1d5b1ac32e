// "corva apply-filters FOLDER": the local rules over stored messages.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "app/MailerCommands.h"
#include "core/Strings.h"
#include "core/TerminalText.h"

#include <iostream>

namespace corva::app {
namespace {

int run(CommandArgs& args) {
    const std::string usage = "corva apply-filters FOLDER";
    if (auto status = args.refused(usage, 1, 1)) return *status;
    HeadlessSession session;
    frmMailer& mailer = *session.main().Mailer();
    CommandMailerView view;
    if (auto status = openFolderArgument(mailer, view, "apply-filters", args.rest().front()))
        return *status;
    const long checked = mailer.RowCount();
    view.statuses.clear();
    mailer.ApplyLocalFilters();
    mailer.setView(nullptr);
    long moved = 0;
    for (const auto& text : view.statuses)
        if (StartsWith(text, "Moved: ")) {
            std::cout << terminalLine(text) << "\n";
            ++moved;
        }
    std::cout << "Checked " << checked << ", moved " << moved << "\n";
    return 0;
}

const CommandRegistration registration({
    "apply-filters",
    "corva apply-filters FOLDER",
    "Run the local rules over a mail folder, moving what they send elsewhere",
    "Each message of the folder is checked against LocalRules.txt as the\n"
    "mailer's \"Apply local filters\" does; one whose rule names another\n"
    "folder moves there, with its unread count.",
    run,
});

} // namespace
} // namespace corva::app
