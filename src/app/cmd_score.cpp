// "corva score FILE...": the Bayesian score of messages, and how it came about.
// Many files in one process, one line each, as bulk filters work.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "app/Json.h"
#include "bayes/modMailSubs.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/TerminalText.h"
#include "message/clsMessage.h"

#include <charconv>
#include <iostream>

namespace corva::app {
namespace {

constexpr const char* Usage = "corva score FILE...|- [--breakdown] [--headers-only] [--json]";

std::string singleText(float value) {
    char buffer[64];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    return ec == std::errc() ? std::string(buffer, end) : "0";
}

int run(CommandArgs& args) {
    const bool breakdown = args.flag("--breakdown");
    const bool headersOnly = args.flag("--headers-only");
    const bool json = args.flag("--json");
    const bool bulk = args.rest().size() != 1 || args.rest().front() == "-";
    std::vector<std::string> files;
    if (auto status = fileNames(args, Usage, files)) return *status;

    HeadlessSession session;
    frmBayesFilter& filter = StartBayesFilter();
    if (filter.WordCount() == 0) std::cerr << "No word table yet: run 'corva train' first.\n";
    // The breakdown text is made only when it is printed.
    filter.KeepBreakdown(breakdown);
    int status = 0;
    std::string row;
    for (const std::string& file : files) {
        clsMessage msg;
        if (!ReadMessageFile(file, headersOnly, msg)) {
            status = 1;
            continue;
        }
        float score = 0;
        filter.Spamminess(msg, headersOnly, score);
        const std::vector<std::string> lines =
            breakdown ? filter.ShowBayesBreakdown(msg) : std::vector<std::string>();
        if (json) {
            std::string list;
            for (const auto& line : lines) list += (list.empty() ? "" : ", ") + JsonText(line);
            JsonObject o;
            o.text("file", file).raw("score", singleText(score)).text("reason", msg.FilterReason);
            if (breakdown) o.raw("breakdown", "[" + list + "]");
            std::cout << o.str() << "\n";
            continue;
        }
        if (bulk) {
            // One write a line: a stream insertion each costs more than the line.
            row.assign(terminalLine(file));
            row += '\t';
            row += singleText(score);
            row += '\n';
            std::cout.write(row.data(), static_cast<std::streamsize>(row.size()));
            continue;
        }
        std::cout << "Score: " << singleText(score) << "\n";
        if (!msg.FilterReason.empty())
            std::cout << "Reason: " << terminalLine(msg.FilterReason) << "\n";
        if (breakdown && lines.empty())
            std::cout << "No breakdown: fewer than " << corva::HeaderWords << " tokens.\n";
        for (const auto& line : lines) std::cout << terminalLine(line) << "\n";
    }
    filter.KeepBreakdown(true);
    return status;
}

const CommandRegistration registration({
    "score",
    Usage,
    "Show the Bayesian score of mail files",
    "Scores each message with the word table (HashTable.dat in the filter folder),\n"
    "from 0.01 (good) to 0.99 (spam). \"-\" reads the file names from standard input,\n"
    "one a line. For one file it prints \"Score: S\" and, when the scorer gave one,\n"
    "\"Reason: TEXT\"; for several files (or \"-\") one line per file, FILE, a tab and\n"
    "the score, all in one process. --breakdown lists every token with its\n"
    "probability, lowest first, as the scanner's spam split does; a message with\n"
    "fewer tokens than HeaderWords has none. --headers-only leaves out the links\n"
    "of the body, as a scan of the server does.\n"
    "--json writes one object per file, one a line: \"file\", \"score\", \"reason\"\n"
    "and with --breakdown \"breakdown\" (a list of texts).\n"
    "A file that can't be read is reported on standard error and makes the exit\n"
    "status 1; the others are still scored.",
    run,
});

} // namespace
} // namespace corva::app
