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
    "corva scan [--account N] [--delete] [--tabs|--json]",
    "List the messages on the servers with their verdicts, without downloading",
    CycleCommandHelp(
        "Visits every account (or only account N, 0 to 19) and reads each message's\n"
        "headers with TOP, judging them with the block lists, the server rules and the\n"
        "word table. --delete deletes blocked mail on the server, which is then not\n"
        "listed.\n"),
    run,
});

} // namespace
} // namespace corva::app
