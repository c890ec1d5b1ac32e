// corva fetch: one retrieving cycle, storing what passes the rules.
#include "app/Command.h"
#include "app/HeadlessSession.h"

namespace corva::app {
namespace {

int run(CommandArgs& args) {
    return RunCycleCommand(args, true, "fetch");
}

const CommandRegistration registration({
    "fetch",
    "corva fetch [--account N] [--delete] [--tabs] [--quiet]",
    "Retrieve the mail that passes the rules into the store",
    "Visits every account (or only account N, 0 to 19 as in its keys SERVERn ...)\n"
    "and downloads each message whose headers pass the rules into Inbox, or into\n"
    "the folder its rule names; junk by score goes to SpamBayes. Prints one line\n"
    "per message (Status, Size, From, Subject, Filtered By, To, Accnt, Msg, MsgNum),\n"
    "the notices and, on stderr, the status texts (not with --quiet), then the\n"
    "counts; --tabs separates the columns with tabs instead of aligning them.\n"
    "--delete also deletes blocked mail on the server. DELETEONRETRIEVE=1\n"
    "in Corva.ini removes retrieved mail from the server once it is stored. A\n"
    "message an earlier fetch stored is not stored again (Retrieved<N>.txt keeps\n"
    "what was stored).\n"
    "The exit status is 1 when a server failed, timed out or could not be reached,\n"
    "or did not confirm the end of a session in which messages were deleted.",
    run,
});

} // namespace
} // namespace corva::app
