// "corva score FILE.eml": the Bayesian score of a message, and how it came about.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "bayes/modMailSubs.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/TerminalText.h"
#include "message/clsMessage.h"

#include <charconv>
#include <iostream>

namespace corva::app {
namespace {

std::string singleText(float value) {
    char buffer[64];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    return ec == std::errc() ? std::string(buffer, end) : "0";
}

int run(CommandArgs& args) {
    const bool breakdown = args.flag("--breakdown");
    const bool headersOnly = args.flag("--headers-only");
    std::string file, text;
    if (auto status =
            readOneFile(args, "corva score FILE.eml [--breakdown] [--headers-only]", file, text))
        return *status;

    HeadlessSession session;
    frmBayesFilter& filter = StartBayesFilter();
    clsMessage msg;
    msg.CreateFromText(text, headersOnly);
    float score = 0;
    filter.Spamminess(msg, headersOnly, score);
    std::cout << "Score: " << singleText(score) << "\n";
    if (!msg.FilterReason.empty())
        std::cout << "Reason: " << terminalLine(msg.FilterReason) << "\n";
    if (filter.WordTable().MaxIndex == 0)
        std::cout << "No word table yet: run 'corva train' first.\n";
    if (breakdown) {
        std::vector<std::string> lines = filter.ShowBayesBreakdown(msg);
        if (lines.empty())
            std::cout << "No breakdown: fewer than " << corva::HeaderWords << " tokens.\n";
        for (const auto& line : lines) std::cout << terminalLine(line) << "\n";
    }
    return 0;
}

const CommandRegistration registration({
    "score",
    "corva score FILE.eml [--breakdown] [--headers-only]",
    "Show the Bayesian score of a mail file",
    "Scores the message with the word table (HashTable.dat in the filter folder),\n"
    "from 0.01 (good) to 0.99 (spam). --breakdown lists every token with its\n"
    "probability, lowest first, as the scanner's spam split does; a message with\n"
    "fewer tokens than HeaderWords has none. --headers-only leaves out the links\n"
    "of the body, as a scan of the server does.",
    run,
});

} // namespace
} // namespace corva::app
