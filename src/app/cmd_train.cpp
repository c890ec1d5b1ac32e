// "corva train": builds the word table from mail folders (or refreshes it from
// the unread spam), as the training view's Generate and Refresh commands do.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "app/Terminal.h"
#include "bayes/modMailSubs.h"
#include "core/FileSubs.h"
#include "core/TerminalText.h"

#include <chrono>
#include <iostream>

namespace corva::app {
namespace {

// Progress on one line of the terminal, at most a few times a second; off a
// terminal only the steps, every message with --verbose, nothing with --quiet.
// Ctrl-C is the view's Stop: the generation ends after the message it reads.
class ConsoleProgress : public frmBayesFilterListener {
public:
    explicit ConsoleProgress(frmBayesFilter& filter) : filter_(filter) { CatchInterrupt(); }
    void Status(const std::string& text) override {
        if (Interrupted()) filter_.StopRequested = true;
        const Verbosity v = Output().verbosity;
        if (v == Verbosity::Quiet) return;
        auto now = std::chrono::steady_clock::now();
        bool step = text.find(" - Message ") == std::string::npos;
        if (v == Verbosity::Verbose || !terminal_) {
            if (step || v == Verbosity::Verbose) std::cerr << terminalLine(text) << "\n";
            return;
        }
        if (!step && now - last_ < std::chrono::milliseconds(200)) return;
        last_ = now;
        std::cerr << "\r" << terminalLine(text) << "\033[K" << (step ? "\n" : "") << std::flush;
    }

private:
    frmBayesFilter& filter_;
    std::chrono::steady_clock::time_point last_{};
    bool terminal_ = ProgressOnOneLine();
};

int run(CommandArgs& args) {
    const auto good = args.option("--good", "a folder");
    const bool goodFile = args.flag("--good-file");
    const auto spam = args.option("--spam", "spambayes, archive or file");
    const bool subfolders = args.flag("--subfolders");
    const bool refresh = args.flag("--refresh");
    if (good && goodFile) args.problem("--good and --good-file don't go together");
    if (spam && *spam != "spambayes" && *spam != "archive" && *spam != "file")
        args.problem("--spam needs spambayes, archive or file, not \"" + *spam + "\"");
    if (auto status = args.refused("corva train [--good FOLDER|--good-file] "
                                   "[--spam spambayes|archive|file] [--subfolders] | "
                                   "corva train --refresh",
                                   0, 0))
        return *status;

    HeadlessSession session;
    frmBayesFilter& filter = BayesFilter();
    ConsoleProgress progress(filter);
    filter.setListener(&progress);
    auto started = std::chrono::steady_clock::now();
    bool ok = true;
    if (refresh) {
        filter.UpdateFromUnread();
    } else {
        filter.LoadViewSettings();
        filter.GoodSource = goodFile ? GoodMailSource::File : GoodMailSource::Folder;
        if (good) filter.GoodFolder = *good;
        filter.GoodSubfolders = subfolders;
        filter.SpamSubfolders = subfolders;
        if (!goodFile && !FolderExists(filter.goodFolderPath()))
            return RefuseWith("train", "no folder \"" + filter.goodFolderPath() + "\"");
        if (spam && *spam == "archive") filter.SpamSource = SpamMailSource::Archive;
        if (spam && *spam == "file") filter.SpamSource = SpamMailSource::File;
        ok = filter.generatefilters();
    }
    filter.setListener(nullptr);
    double seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count();
    if (!ok || filter.StopRequested) return 1;
    std::cout << "Good mail: " << filter.GoodTable().Count << " messages, "
              << filter.GoodTable().MaxIndex << " tokens\n"
              << "Spam: " << filter.BadTable().Count << " messages, " << filter.BadTable().MaxIndex
              << " tokens\n"
              << "Word table: " << filter.WordTable().MaxIndex << " words in "
              << frmBayesFilter::wordfilename() << "\n"
              << "Time: " << seconds << " s\n";
    return 0;
}

const CommandRegistration registration({
    "train",
    "corva train [--good FOLDER|--good-file] [--spam spambayes|archive|file] [--subfolders] | "
    "corva train --refresh",
    "Build the Bayesian word table from good mail and spam",
    "Counts the tokens of every message in a good folder (default Inbox, a name\n"
    "under the mail store or a full path) and in the spam source: the SpamBayes\n"
    "folder (default), the spam archive (SpamFolder in Paths.ini), or the counts\n"
    "file of an earlier run (also --good-file for good mail). --subfolders takes\n"
    "the folders below as well. Writes HashGood.dat, HashBad.dat and HashTable.dat\n"
    "in the filter folder.\n"
    "--refresh adds the unread mail of the SpamBayes folder to the spam counts and\n"
    "rebuilds the word table, as the view's Refresh Filters does.\n"
    "Ctrl-C stops after the message being read, as the view's Stop does, and\n"
    "keeps the counts read so far (exit status 1).",
    run,
});

} // namespace
} // namespace corva::app
