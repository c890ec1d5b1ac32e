#include "app/HeadlessSession.h"

#include "core/ErrorReport.h"

#include "app/Command.h"
#include "app/ScanPrinter.h"
#include "app/Terminal.h"
#include "core/Account.h"
#include "core/AppInfo.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "core/mSHAREDSettings.h"
#include "message/clsMessage.h"
#include "platform/Platform.h"

#include <cerrno>
#include <climits>
#include <csignal>
#include <deque>
#include <fcntl.h>
#include <iostream>
#include <sys/stat.h>
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
    // No window: a report is one block on standard error, never a dialog.
    SetErrorReportHandler(ConsoleErrorReport);
    main_ = std::make_unique<frmMain>(view);
    frmMain::StartOptions options;
    options.headless = true;
    options.autoScan = autoScan;
    options.delaySeconds = delaySeconds;
    main_->StartProgram(options);
    WarnUnreadKeys(Settings(), "Corva.ini");
}

HeadlessSession::~HeadlessSession() {
    shutdown();
    SetErrorReportHandler({});
}

void HeadlessSession::shutdown() {
    // Headless, the outbox question is only a notice, so the shutdown always completes.
    if (main_ && !main_->shutDown()) main_->exitprog();
}

// Keys are looked up in upper case, so one typed by hand in another case is
// never read. It stays in the file as it is; the command says so rather than
// let the setting be ignored in silence.
void WarnUnreadKeys(const cSHAREDSettings& settings, const std::string& fileName) {
    if (Output().verbosity == Verbosity::Quiet) return;
    for (int i = 1; i <= settings.SettingsCount(); ++i) {
        const std::string key = settings.SettingNameByIndex(i);
        const std::string upper = UCase(key);
        if (key == upper) continue;
        std::cerr << fileName << ": the key \"" << terminalLine(key)
                  << "\" is not read; keys are read in upper case only (write it as "
                  << terminalLine(upper) << ").\n";
    }
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

std::optional<int> RequireAccount(const std::string& command, int number, bool needsServer) {
    const Account account(number);
    const bool exists =
        !account.server().empty() ||
        (!needsServer && (!account.smtpServer().empty() || !account.replyAddress().empty()));
    if (exists) return std::nullopt;
    return RefuseWith(command, "there is no account " + std::to_string(number) + " (" +
                                   account.key(needsServer ? "SERVER" : "SMTP") +
                                   " is not set; 'corva account list' shows the accounts)");
}

namespace {

// One lookup of the name, then open, size and read on the open file: bulk
// scoring reads thousands of small files, and each extra status call costs
// as much as the read. A folder or a pipe is refused, never waited on.
bool readWhole(const std::string& file, std::string& text) {
    if (Trim(file).empty()) return false;
    constexpr int flags = O_RDONLY | O_CLOEXEC | O_NONBLOCK;
    // A name that opens as given is what resolving it would give; only a
    // missing one is looked for without regard to case.
    const bool backslashes = file.find('\\') != std::string::npos;
    int fd = backslashes ? -1 : ::open(file.c_str(), flags);
    if (fd < 0 && (backslashes || errno == ENOENT || errno == ENOTDIR))
        fd = ::open(ResolvePath(file).c_str(), flags);
    if (fd < 0) return false;
    struct stat st {};
    bool ok = ::fstat(fd, &st) == 0 && S_ISREG(st.st_mode);
    if (ok) {
        text.resize(static_cast<size_t>(st.st_size));
        size_t have = 0;
        while (have < text.size()) {
            const ssize_t n = ::read(fd, text.data() + have, text.size() - have);
            if (n < 0 && errno == EINTR) continue;
            if (n <= 0) {
                ok = n == 0; // shrank while read: what was there
                break;
            }
            have += static_cast<size_t>(n);
        }
        text.resize(have);
    }
    ::close(fd);
    return ok;
}

} // namespace

bool ReadMessageFile(const std::string& file, bool headersOnly, clsMessage& msg) {
    std::string text;
    if (!readWhole(file, text)) {
        std::cerr << "Can't read " << terminalLine(file) << "\n";
        return false;
    }
    msg.CreateFromText(text, headersOnly);
    return true;
}

const char* CycleCommandHelp(const char* opening) {
    static const char* const shared =
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
        "or did not confirm the end of a session in which messages were deleted.";
    // A deque never moves what it holds, so each pointer handed out stays good.
    static std::deque<std::string> texts;
    texts.push_back(std::string(opening) + shared);
    return texts.back().c_str();
}

int RunCycleCommand(CommandArgs& args, bool retrieve, const char* name) {
    const std::optional<int> account = args.account();
    const bool deleteBlocked = args.flag("--delete");
    const bool tabs = args.flag("--tabs");
    const bool json = args.flag("--json");
    if (tabs && json) args.problem("--tabs and --json don't go together");
    if (auto status = args.refused(
            std::string("corva ") + name + " [--account N] [--delete] [--tabs|--json]", 0, 0))
        return *status;

    ScanPrinter view(std::cout, std::cerr,
                     json   ? ScanPrinter::Form::Json
                     : tabs ? ScanPrinter::Form::Tabs
                            : ScanPrinter::Form::Table);
    HeadlessSession session(view, frmMain::AutoScan::Off);
    if (account)
        if (auto refused = RequireAccount(name, *account, true)) return *refused;
    CatchInterrupt();
    frmMain& main = session.main();
    const long savedBefore = main.MessagesSaved();
    const double deletedBefore = main.DeletedThisRun();
    CycleRequest request;
    if (account) request.accounts = AccountSet::one(*account);
    request.deleteBlocked = deleteBlocked;
    request.retrieve = retrieve;
    main.checkmail(request);
    platform::current().eventLoop().runUntil([&] { return !main.CycleRunning() || Interrupted(); },
                                             INT_MAX);
    if (Interrupted()) {
        std::cerr << "\nInterrupted; the transfer was stopped.\n";
        session.shutdown();
        return 130;
    }
    view.finish(main, savedBefore, deletedBefore);
    return view.problems() > 0 ? 1 : 0;
}

} // namespace corva::app
