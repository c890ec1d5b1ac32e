// corva watch: the automatic scan of the tray program, on the command line.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "core/Strings.h"
#include "core/Variant.h"
#include "core/mSHAREDSettings.h"
#include "cycle/frmMainTextView.h"
#include "platform/Platform.h"

#include <climits>
#include <iostream>
#include <unistd.h>

namespace corva::app {
namespace {

int run(CommandArgs& args) {
    std::optional<std::string> delayText = args.option("--delay");
    bool quiet = args.flag("--quiet");
    for (const auto& word : args.unknownOptions()) {
        std::cerr << "corva watch: unknown option '" << word << "'\n";
        return 2;
    }
    std::optional<int16_t> delay;
    if (delayText) {
        std::string t = Trim(*delayText);
        if (t.empty() || t.size() > 5 || t.find_first_not_of("0123456789") != std::string::npos ||
            std::stoi(t) < 1 || std::stoi(t) > 32767) {
            std::cerr << "corva watch: --delay takes a number of seconds from 1 to 32767\n";
            return 2;
        }
        delay = static_cast<int16_t>(std::stoi(t));
    }

    frmMainTextView view(std::cout, std::cerr, ::isatty(STDOUT_FILENO) != 0);
    view.setQuiet(quiet);
    HeadlessSession session(view, frmMain::AutoScan::On, delay);
    CatchInterrupt();
    frmMain& main = session.main();
    if (!delay && sget("DELAY", 0).toNumber() < 1) {
        std::cerr << "corva watch: DELAY is 0 in Corva.ini, so there are no automatic scans; "
                     "give --delay SECONDS\n";
        return 2;
    }

    // The timer fires the first scan shortly after start, then one every DELAY seconds.
    long seen = main.CyclesFinished();
    long saved = main.MessagesSaved();
    double deleted = main.DeletedThisRun();
    while (!Interrupted()) {
        platform::current().eventLoop().runUntil(
            [&] { return main.CyclesFinished() != seen || Interrupted(); }, INT_MAX);
        if (main.CyclesFinished() != seen) {
            seen = main.CyclesFinished();
            view.printCounts(main, saved, deleted);
            saved = main.MessagesSaved();
            deleted = main.DeletedThisRun();
        }
    }
    std::cerr << "Stopping.\n";
    session.shutdown();
    return 0;
}

const CommandRegistration registration({
    "watch",
    "corva watch [--delay SECONDS] [--quiet]",
    "Stay running and scan every DELAY seconds, until Ctrl-C",
    "Scans all accounts shortly after start and again every DELAY seconds of\n"
    "Corva.ini (or SECONDS), as the tray program's timer does, printing each\n"
    "cycle's lines and counts. AUTODELETE=1 deletes blocked mail on the server;\n"
    "RetrieveOnStart retrieves in the first cycle. Ctrl-C stops the transfer\n"
    "under way and shuts down cleanly.",
    run,
});

} // namespace
} // namespace corva::app
