// "corva check FILE.eml": the verdict the scanner would show for a message,
// through the program's own filters, lists and word table.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "app/Json.h"
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

constexpr const char* Usage =
    "corva check FILE...|- [--local] [--headers-only] [--account N] [--no-bayes] [--json]";

std::string truth(bool value) {
    return value ? "True" : "False";
}

int run(CommandArgs& args) {
    const bool local = args.flag("--local");
    const bool headersOnly = args.flag("--headers-only");
    const bool noBayes = args.flag("--no-bayes");
    const bool json = args.flag("--json");
    const std::optional<int> account = args.account();
    const bool bulk = args.rest().size() != 1 || args.rest().front() == "-";
    std::vector<std::string> files;
    if (auto status = fileNames(args, Usage, files)) return *status;

    HeadlessSession session;
    if (account)
        if (auto refused = RequireAccount("check", *account, false)) return *refused;
    frmFilters& filters = local ? session.localFilters() : session.serverFilters();
    int status = 0;
    std::ostream& o = std::cout;
    for (const std::string& file : files) {
        clsMessage msg;
        if (!ReadMessageFile(file, headersOnly, msg)) {
            status = 1;
            continue;
        }
        msg.FromAccount = static_cast<int16_t>(account.value_or(0));
        filters.CheckMessage(msg, !noBayes);
        const std::string subjectCharset = headerCharset(msg.Headers, "Subject");
        if (json) {
            o << JsonObject()
                     .text("file", file)
                     .text("verdict", verdictword(msg))
                     .text("colour", colourname(msg.Colour))
                     .text("filterReason", msg.FilterReason)
                     .raw("bayes", singleText(msg.Bayes))
                     .text("destFolder", msg.DestFolder)
                     .truth("deleted", msg.Deleted)
                     .truth("blockedSender", msg.BlockedSender)
                     .truth("blockedRecip", msg.BlockedRecip)
                     .truth("ignored", msg.Ignored)
                     .truth("suspicious", msg.Suspicious)
                     .text("subject", msg.Subject, subjectCharset)
                     .raw("size", singleText(msg.Size))
                     .str()
              << "\n";
            continue;
        }
        if (bulk) {
            o << terminalLine(file) << "\t" << verdictword(msg) << "\t" << singleText(msg.Bayes)
              << "\t" << terminalLine(msg.FilterReason) << "\n";
            continue;
        }
        o << verdictword(msg) << "\n";
        o << "Colour: " << colourname(msg.Colour) << " (" << msg.Colour << ")\n";
        o << "FilterReason: " << oneLine(msg.FilterReason) << "\n";
        o << "Bayes: " << singleText(msg.Bayes) << "\n";
        o << "DestFolder: " << oneLine(msg.DestFolder) << "\n";
        o << "Deleted: " << truth(msg.Deleted) << "\n";
        o << "BlockedSender: " << truth(msg.BlockedSender) << "\n";
        o << "BlockedRecip: " << truth(msg.BlockedRecip) << "\n";
        o << "Ignored: " << truth(msg.Ignored) << "\n";
        o << "Suspicious: " << truth(msg.Suspicious) << "\n";
        o << "Subject: " << oneLine(msg.Subject, subjectCharset) << "\n";
        o << "Size: " << singleText(msg.Size) << "kb\n";
        o << "Filters: " << (local ? "local (" : "server (") << oneLine(filters.CurrentRulesPath())
          << ", " << filters.Filters().size() << " filters)\n";
    }
    return status;
}

const CommandRegistration registration({
    "check",
    Usage,
    "Show the scanner's verdict on mail files",
    "Runs the message through the block and ignore lists, the filter rules, the\n"
    "Bayesian score and the size limit, as a scan does, and prints the verdict word\n"
    "(BLOCK, FAIL, IGNORE, SPAM? or PASS), the colour of its line, FilterReason,\n"
    "Bayes, DestFolder and the other marks. Nothing is changed.\n"
    "--local uses the local filters (LocalRules.txt) instead of the server ones.\n"
    "--headers-only reads the file as a scan reads TOP n 1, without the body.\n"
    "--account N checks it as mail of account N, which must exist (for its\n"
    "\"ignore mail not addressed to\" settings); 0 by default.\n"
    "--no-bayes leaves the score out, as a retrieved message's local check does.\n"
    "Several files (or \"-\", the names on standard input one a line) are checked\n"
    "in one process, one line each: FILE, verdict, score and FilterReason, separated\n"
    "by tabs. --json writes one object per file, one a line: \"file\", \"verdict\",\n"
    "\"colour\", \"filterReason\", \"bayes\", \"destFolder\", \"deleted\",\n"
    "\"blockedSender\", \"blockedRecip\", \"ignored\", \"suspicious\", \"subject\" and\n"
    "\"size\" (KB). A file that can't be read makes the exit status 1.",
    run,
});

} // namespace
} // namespace corva::app
