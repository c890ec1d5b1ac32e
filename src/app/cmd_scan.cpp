// corva scan: looks into the accounts' mailboxes with TOP, judges each
// message with the rules and lists the verdicts, downloading nothing.
#include "app/Command.h"
#include "app/HeadlessSession.h"

namespace corva::app {
namespace {

int run(CommandArgs& args) {
    return RunCycleCommand(args, false, "scan");
}

const CommandRegistration registration({
    "scan",
    "corva scan [--account N] [--delete] [--tabs] [--quiet]",
    "List the messages on the servers with their verdicts, without downloading",
    "Visits every account (or only account N, 0 to 19 as in its keys SERVERn ...)\n"
    "and reads each message's headers with TOP, judging them with the block lists,\n"
    "the server rules and the word table. Prints one line per message: Status\n"
    "(PASS, SPAM?, IGNORE, FAIL, BLOCK), Size, From, Subject, Filtered By, To,\n"
    "Accnt, Msg (its place in the account) and MsgNum (its place in the cycle);\n"
    "--tabs separates the columns with tabs instead of aligning them. Server and\n"
    "notice lines start with \"==\" and \"--\"; the status texts go to stderr (not\n"
    "with --quiet); the counts come last. --delete deletes blocked mail on the\n"
    "server, which is then not listed. A server written as host:port is reached on\n"
    "that port, else on 110.\n"
    "The exit status is 1 when a server failed, timed out or could not be reached,\n"
    "or did not confirm the end of a session in which messages were deleted.",
    run,
});

} // namespace
} // namespace corva::app
