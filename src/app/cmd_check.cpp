// "corva check FILE.eml": the verdict the scanner would show for a message,
// through the program's own filters, lists and word table.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "core/Account.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "filters/frmFilters.h"
#include "filters/modBlockCommands.h"
#include "message/clsMessage.h"

#include <iostream>
#include <string>

namespace corva::app {
namespace {

// A value on one line for the terminal, line ends shown as \r and \n.
std::string oneLine(const std::string& text, const std::string& charset = "") {
    return terminalText(Replace(Replace(text, "\r", "\\r"), "\n", "\\n"), charset);
}

int run(CommandArgs& args) {
    const bool local = args.flag("--local");
    const bool headersOnly = args.flag("--headers-only");
    const bool noBayes = args.flag("--no-bayes");
    const auto account = args.option("--account");
    std::string file, text;
    if (auto status = readOneFile(
            args, "corva check FILE.eml [--local] [--headers-only] [--account N] [--no-bayes]",
            file, text))
        return *status;
    int accountNumber = 0;
    if (account) {
        accountNumber = static_cast<int>(Val(*account));
        if (!Account::isNumber(accountNumber) || Trim(*account).empty()) {
            std::cerr << "The account is a number from 0 to 19\n";
            return 2;
        }
    }

    HeadlessSession session;
    frmFilters& filters = local ? session.localFilters() : session.serverFilters();
    clsMessage msg;
    msg.CreateFromText(text, headersOnly);
    msg.FromAccount = static_cast<int16_t>(accountNumber);
    filters.CheckMessage(msg, !noBayes);

    std::ostream& o = std::cout;
    o << verdictword(msg) << "\n";
    o << "Colour: " << colourname(msg.Colour) << " (" << msg.Colour << ")\n";
    o << "FilterReason: " << oneLine(msg.FilterReason) << "\n";
    o << "Bayes: " << singleText(msg.Bayes) << "\n";
    o << "DestFolder: " << oneLine(msg.DestFolder) << "\n";
    o << "Deleted: " << (msg.Deleted ? "True" : "False") << "\n";
    o << "BlockedSender: " << (msg.BlockedSender ? "True" : "False") << "\n";
    o << "BlockedRecip: " << (msg.BlockedRecip ? "True" : "False") << "\n";
    o << "Ignored: " << (msg.Ignored ? "True" : "False") << "\n";
    o << "Suspicious: " << (msg.Suspicious ? "True" : "False") << "\n";
    o << "Subject: " << oneLine(msg.Subject, headerCharset(msg.Headers, "Subject")) << "\n";
    o << "Size: " << singleText(msg.Size) << "kb\n";
    o << "Filters: " << (local ? "local (" : "server (") << oneLine(filters.CurrentRulesPath())
      << ", " << filters.Filters().size() << " filters)\n";
    return 0;
}

const CommandRegistration registration({
    "check",
    "corva check FILE.eml [--local] [--headers-only] [--account N] [--no-bayes]",
    "Show the scanner's verdict on a mail file",
    "Runs the message through the block and ignore lists, the filter rules, the\n"
    "Bayesian score and the size limit, as a scan does, and prints the verdict word\n"
    "(BLOCK, FAIL, IGNORE, SPAM? or PASS), the colour of its line, FilterReason,\n"
    "Bayes, DestFolder and the other marks. Nothing is changed.\n"
    "--local uses the local filters (LocalRules.txt) instead of the server ones.\n"
    "--headers-only reads the file as a scan reads TOP n 1, without the body.\n"
    "--account N checks it as mail of account N (for its \"ignore mail not\n"
    "addressed to\" settings); 0 by default.\n"
    "--no-bayes leaves the score out, as a retrieved message's local check does.",
    run,
});

} // namespace
} // namespace corva::app
