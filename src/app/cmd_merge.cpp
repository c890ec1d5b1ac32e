// "corva merge DATA.csv TEMPLATE.txt": the mail merge dialog's "Go".
#include "app/Command.h"
#include "app/ToolProgress.h"
#include "tools/frmMailMerge.h"

#include <iostream>

namespace corva::app {
namespace {

constexpr const char* Usage = "corva merge DATA.csv TEMPLATE.txt";

int run(CommandArgs& args) {
    if (auto status = args.refused(Usage, 2, 2)) return *status;
    HeadlessSession session;
    frmMailMerge dialog;
    dialog.DataFile = args.rest()[0];
    dialog.TemplateFile = args.rest()[1];
    if (!dialog.cmdGo_click()) return 1;
    ToolProgress progress;
    const MergeOutcome outcome = DoMailMerge(dialog, progress);
    progress.clear();
    if (!outcome.Ran) return 1;
    // The window's report box, on one line.
    std::cout << (outcome.Stopped ? "Merge stopped. " : "Merge Complete. ")
              << outcome.Saved + outcome.Invalid << " name(s) processed: " << outcome.Saved
              << " saved to the outbox, " << outcome.Invalid
              << " had invalid email address(es) (skipped)\n";
    return outcome.Stopped ? 1 : 0;
}

const CommandRegistration registration({
    "merge",
    Usage,
    "Spool one message per row of a data file, made from a template",
    "DATA.csv is comma-separated with CR LF line ends and no quoting; its first\n"
    "line names the columns, and each name is the tag replaced (in any case) in\n"
    "TEMPLATE.txt by the row's value. One column must be $EMAIL. The template's\n"
    "first line should be \"Subject: ...\", the rest is the body. Each row with an\n"
    "address is spooled into the Outbox from the default sending account, for the\n"
    "next 'corva send'; rows without \"@\" are counted as invalid, rows with fewer\n"
    "values than columns are passed over. Extra values join the last column. A\n"
    "template without a subject line is asked about on a terminal (elsewhere the\n"
    "answer is no). The paths are remembered for the mail merge dialog. Ctrl-C\n"
    "stops between rows and keeps what was spooled (exit status 1).",
    run,
});

} // namespace
} // namespace corva::app
