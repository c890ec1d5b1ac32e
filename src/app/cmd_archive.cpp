// "corva archive --before DATE": the archive window's "Archive Now".
#include "app/Command.h"
#include "app/ToolProgress.h"
#include "tools/frmArchive.h"

#include <cstdio>
#include <iostream>

namespace corva::app {
namespace {

constexpr const char* Usage = "corva archive --before YYYY-MM-DD";

int run(CommandArgs& args) {
    const auto before = args.option("--before", "a date YYYY-MM-DD");
    int year = 0, month = 0, day = 0;
    char end = 0;
    if (!before)
        args.problem("--before YYYY-MM-DD is needed");
    else if (std::sscanf(before->c_str(), "%4d-%2d-%2d%c", &year, &month, &day, &end) != 3 ||
             year < 1900 || month < 1 || month > 12 || day < 1 || day > 31)
        args.problem("--before needs a date YYYY-MM-DD, not \"" + *before + "\"");
    if (auto status = args.refused(Usage, 0, 0)) return *status;

    HeadlessSession session;
    ToolProgress progress;
    frmArchive archive;
    archive.setListener(&progress);
    const DateTime limit = frmArchive::LimitDate(year, month, day);
    const ArchiveOutcome outcome = archive.archivemail(limit);
    archive.setListener(nullptr);
    progress.clear();
    std::cout << (outcome.Stopped ? "Archiving stopped. " : "Archiving Complete. ") << outcome.Moved
              << " file(s) moved";
    if (outcome.Erased) std::cout << ", " << outcome.Erased << " empty file(s) erased";
    std::cout << "\n";
    return outcome.Stopped ? 1 : 0;
}

const CommandRegistration registration({
    "archive",
    Usage,
    "Move read mail received up to a day into dated Archive folders",
    "Moves every read message received on or before the day given (a day the\n"
    "month lacks counts as its last day) from every mail folder into\n"
    "Archive/Yyyyy/Mmm (Archive/Y2024/M03), with \" Sent Items\" after the month\n"
    "for sent mail, as the archive window does. Unread mail stays, and the\n"
    "Archive, SpamBayes, Outbox and Deleted folders are left alone, so a second\n"
    "run moves nothing new. Empty message files are erased. A message is moved by\n"
    "renaming its file, so it is never in two places or none. Ctrl-C stops\n"
    "between files and keeps what was moved (exit status 1).",
    run,
});

} // namespace
} // namespace corva::app
