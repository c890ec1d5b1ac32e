// corva watch: the automatic scan of the tray program, on the command line.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "app/ScanPrinter.h"
#include "core/Strings.h"
#include "core/Variant.h"
#include "core/mSHAREDSettings.h"
#include "platform/Platform.h"

#include <climits>
#include <iostream>
#include <unistd.h>

namespace corva::app {
namespace {

int run(CommandArgs& args) {
    std::optional<std::string> delayText = args.option("--delay", "a number of seconds");
    const bool tabs = args.flag("--tabs");
    if (auto status = args.refused("corva watch [--delay SECONDS] [--tabs]", 0, 0)) return *status;
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

    ScanPrinter view(std::cout, std::cerr,
                     tabs ? ScanPrinter::Form::Tabs : ScanPrinter::Form::Table);
    HeadlessSession session(view, frmMain::AutoScan::On, delay);
    CatchInterrupt();
    frmMain& main = session.main();
    if (!delay && sget("DELAY", 0).toNumber() < 1) {
        return RefuseWith("watch", "DELAY is 0 in Corva.ini, so there are no automatic scans; "
                                   "give --delay SECONDS");
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
            view.finish(main, saved, deleted);
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
    "corva watch [--delay SECONDS] [--tabs]",
    "Stay running and scan every DELAY seconds, until Ctrl-C",
    "Scans all accounts shortly after start and again every DELAY seconds of\n"
    "Corva.ini (or SECONDS), as the tray program's timer does, printing each\n"
    "cycle's lines and counts as 'corva scan' does ('corva help scan'). The line\n"
    "AUTODELETE,1 in Corva.ini deletes blocked mail on the server;\n"
    "RetrieveOnStart retrieves in the first cycle. Ctrl-C stops the transfer\n"
    "under way and shuts down cleanly.",
    run,
});

} // namespace
} // namespace corva::app
