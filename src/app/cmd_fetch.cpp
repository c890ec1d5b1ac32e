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
    "Visits every account (or only account N, 0 to 19) and downloads each message\n"
    "whose headers pass the rules into Inbox, or into the folder its rule names;\n"
    "junk by score goes to SpamBayes. --delete also deletes blocked mail on the\n"
    "server. The line DELETEONRETRIEVE,1 in Corva.ini removes retrieved mail from\n"
    "the server once it is stored. A message an earlier fetch stored is not stored\n"
    "again (Retrieved<N>.txt keeps what was stored). Each stored message gets a\n"
    "notice \"Saved: FROM - SUBJECT -> PATH\"; in JSON a notice {\"kind\": \"saved\",\n"
    "\"from\", \"subject\", \"path\"}.\n"
    "Output: a table of Status (PASS, SPAM?, IGNORE, FAIL, BLOCK), Size, From,\n"
    "Subject, Filtered By, To, Accnt, Msg (its place in the account) and MsgNum\n"
    "(its place in the cycle), fitted to the terminal's width ($COLUMNS, else the\n"
    "terminal's; piped, the usual widths), with server lines (\"== ... ==\") and\n"
    "notices (\"-- ...\") between, then the counts: \"Seen: N  Kept: N  Deleted on\n"
    "server: N  Saved: N  Total deleted: N\". Lines are coloured by verdict on a\n"
    "terminal.\n"
    "--tabs writes only the message rows to standard output, every field whole and\n"
    "separated by a tab; server lines, notices and counts go to standard error.\n"
    "--json writes one object at the end: \"messages\", a list of {\"status\",\n"
    "\"size\" (KB), \"from\", \"subject\", \"filteredBy\", \"to\", \"account\", \"msg\",\n"
    "\"msgNum\", \"colour\" (\"#RRGGBB\")}; \"notices\", a list of {\"kind\" (\"server\" or\n"
    "\"notice\"), \"text\"}; then \"seen\", \"kept\", \"deletedOnServer\", \"saved\",\n"
    "\"totalDeleted\" and \"problems\". Text is decoded as the windows decode it.\n"
    "Progress goes to standard error: one line that rewrites itself on a terminal,\n"
    "every step on its own line with --verbose, nothing with --quiet.\n"
    "N must be an account that exists (its SERVERn is set), else the exit status\n"
    "is 2. A server written as host:port is reached on that port, else on 110.\n"
    "The exit status is 1 when a server failed, timed out or could not be reached,\n"
    "or did not confirm the end of a session in which messages were deleted.",
    run,
});

} // namespace
} // namespace corva::app
