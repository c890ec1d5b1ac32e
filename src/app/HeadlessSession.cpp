#include "app/HeadlessSession.h"

#include "app/Command.h"
#include "core/AppInfo.h"
#include "core/Strings.h"
#include "core/mSHAREDSettings.h"
#include "cycle/frmMainTextView.h"
#include "platform/Platform.h"

#include <climits>
#include <csignal>
#include <iostream>
#include <unistd.h>

namespace corva::app {

namespace {

// What a command that shows no list still has to say: that there are no settings yet.
class NoticeView : public frmMainView {
public:
    void RunAccountWizard() override {
        std::cerr << "No settings yet: " << SettingsFilePath()
                  << " is missing. Before using this program you will have to set up a mail "
                     "account.\n";
    }
};

volatile std::sig_atomic_t interrupted = 0;

void onInterrupt(int) {
    interrupted = 1;
}

} // namespace

HeadlessSession::HeadlessSession() {
    ownView_ = std::make_unique<NoticeView>();
    start(ownView_.get(), frmMain::AutoScan::Off, std::nullopt);
}

HeadlessSession::HeadlessSession(frmMainView& view, frmMain::AutoScan autoScan,
                                 std::optional<int16_t> delaySeconds) {
    start(&view, autoScan, delaySeconds);
}

void HeadlessSession::start(frmMainView* view, frmMain::AutoScan autoScan,
                            std::optional<int16_t> delaySeconds) {
    programFolder_ = ChooseProgramFolder(HomeOption());
    SetAppPath(programFolder_);
    main_ = std::make_unique<frmMain>(view);
    frmMain::StartOptions options;
    options.headless = true;
    options.autoScan = autoScan;
    options.delaySeconds = delaySeconds;
    main_->StartProgram(options);
}

HeadlessSession::~HeadlessSession() {
    shutdown();
}

void HeadlessSession::shutdown() {
    // Headless, the outbox question is only a notice, so the shutdown always completes.
    if (main_ && !main_->shutDown()) main_->exitprog();
}

void CatchInterrupt() {
    interrupted = 0;
    struct sigaction action {};
    action.sa_handler = onInterrupt;
    sigemptyset(&action.sa_mask);
    sigaction(SIGINT, &action, nullptr);
    sigaction(SIGTERM, &action, nullptr);
}

bool Interrupted() {
    return interrupted != 0;
}

int RunCycleCommand(CommandArgs& args, bool retrieve, const char* name) {
    std::optional<std::string> accountText = args.option("--account");
    bool deleteBlocked = args.flag("--delete");
    bool quiet = args.flag("--quiet");
    bool tabs = args.flag("--tabs");
    for (const auto& word : args.unknownOptions()) {
        std::cerr << "corva " << name << ": unknown option '" << word << "'\n";
        return 2;
    }
    if (!args.rest().empty()) {
        std::cerr << "corva " << name << ": unexpected '" << args.rest().front() << "'\n";
        return 2;
    }
    int account = -1;
    if (accountText) {
        std::string t = Trim(*accountText);
        bool digits =
            !t.empty() && t.size() <= 2 && t.find_first_not_of("0123456789") == std::string::npos;
        if (!digits || std::stoi(t) >= Account::Count) {
            std::cerr << "corva " << name << ": --account takes an account number from 0 to 19\n";
            return 2;
        }
        account = std::stoi(t);
    }

    frmMainTextView view(std::cout, std::cerr, ::isatty(STDOUT_FILENO) != 0);
    view.setQuiet(quiet);
    view.setTabs(tabs);
    HeadlessSession session(view, frmMain::AutoScan::Off);
    CatchInterrupt();
    frmMain& main = session.main();
    const long savedBefore = main.MessagesSaved();
    const double deletedBefore = main.DeletedThisRun();
    CycleRequest request;
    if (account >= 0) request.accounts = AccountSet::one(account);
    request.deleteBlocked = deleteBlocked;
    request.retrieve = retrieve;
    main.checkmail(request);
    platform::current().eventLoop().runUntil([&] { return !main.CycleRunning() || Interrupted(); },
                                             INT_MAX);
    if (Interrupted()) {
        std::cerr << "Interrupted; the transfer was stopped.\n";
        session.shutdown();
        return 130;
    }
    view.printCounts(main, savedBefore, deletedBefore);
    return view.problems() > 0 ? 1 : 0;
}

} // namespace corva::app
