// "corva dupes FOLDER [--delete]": the mailer's duplicate selection.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "app/MailerCommands.h"
#include "core/TerminalText.h"

#include <iostream>

namespace corva::app {
namespace {

int run(CommandArgs& args) {
    const bool remove = args.flag("--delete");
    const std::string usage = "corva dupes FOLDER [--delete]";
    if (auto status = args.refused(usage, 1, 1)) return *status;
    HeadlessSession session;
    frmMailer& mailer = *session.main().Mailer();
    CommandMailerView view;
    if (auto status = openFolderArgument(mailer, view, "dupes", args.rest().front()))
        return *status;
    mailer.SortBy(MailerColumn::Subject);
    mailer.seldupes();
    for (long r : view.selection)
        std::cout << mailer.Row(r).Path << "\t" << terminalLine(mailer.Row(r).Subject) << "\n";
    const long found = static_cast<long>(view.selection.size());
    if (remove && found > 0) mailer.DeleteSelected();
    mailer.setView(nullptr);
    std::cout << found << (found == 1 ? " duplicate" : " duplicates")
              << (remove ? " deleted" : " found") << "\n";
    return 0;
}

const CommandRegistration registration({
    "dupes",
    "corva dupes FOLDER [--delete]",
    "List (or delete) messages whose subject repeats the one before",
    "Sorts the folder by subject and picks each message whose subject equals\n"
    "its neighbour's above, ignoring case and blanks at the ends, as the\n"
    "mailer's \"Select duplicates\" does; a picked message is not compared\n"
    "again, so of three alike the third waits for the next run. --delete moves\n"
    "them to Deleted.",
    run,
});

} // namespace
} // namespace corva::app
