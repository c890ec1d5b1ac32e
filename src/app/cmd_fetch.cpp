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
    "corva fetch [--account N] [--delete] [--tabs|--json]",
    "Retrieve the mail that passes the rules into the store",
    CycleCommandHelp(
        "Visits every account (or only account N, 0 to 19) and downloads each message\n"
        "whose headers pass the rules into Inbox, or into the folder its rule names;\n"
        "junk by score goes to SpamBayes. --delete also deletes blocked mail on the\n"
        "server. The line DELETEONRETRIEVE,1 in Corva.ini removes retrieved mail from\n"
        "the server once it is stored. A message an earlier fetch stored is not stored\n"
        "again (Retrieved<N>.txt keeps what was stored). Each stored message gets a\n"
        "notice \"Saved: FROM - SUBJECT -> PATH\"; in JSON a notice {\"kind\": \"saved\",\n"
        "\"from\", \"subject\", \"path\"}.\n"),
    run,
});

} // namespace
} // namespace corva::app
