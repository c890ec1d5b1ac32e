// The program started without windows, for the commands: frmMain's start-up
// in the program's order, and its shutdown when the session ends, so that a
// command sees the same settings, folders and filters as the window does.
#pragma once

#include "cycle/frmMain.h"

#include <memory>
#include <optional>
#include <string>

namespace corva {
class clsMessage;
class cSHAREDSettings;
} // namespace corva

namespace corva::app {

class CommandArgs;

class HeadlessSession {
public:
    // Chooses the program folder (--home, $CORVA_HOME, XDG) and starts the
    // program headless with no automatic scans; notices go to stderr.
    HeadlessSession();
    // The same, showing the cycle through view, with the timer as autoScan says.
    HeadlessSession(frmMainView& view, frmMain::AutoScan autoScan,
                    std::optional<int16_t> delaySeconds = std::nullopt);
    ~HeadlessSession();
    HeadlessSession(const HeadlessSession&) = delete;
    HeadlessSession& operator=(const HeadlessSession&) = delete;

    // True when Corva.ini was missing at start (a first run).
    bool firstRun() const { return main_->firstRun(); }
    const std::string& programFolder() const { return programFolder_; }

    // The objects the commands work with, alive for the whole session.
    frmMain& main() { return *main_; }
    frmGetMail& getMail() { return main_->GetMail(); }
    frmFilters& serverFilters() { return main_->ServerFilters(); }
    frmFilters& localFilters() { return main_->LocalFilters(); }
    frmSendMailWrapper& sendMailWrapper() { return main_->SendMailWrapper(); }
    frmBayesFilter& bayesFilter() { return main_->BayesFilter(); }

    // Ends the session early (after Ctrl-C); the destructor then does nothing more.
    void shutdown();

private:
    void start(frmMainView* view, frmMain::AutoScan autoScan, std::optional<int16_t> delaySeconds);

    std::string programFolder_;
    std::unique_ptr<frmMainView> ownView_;
    std::unique_ptr<frmMain> main_;
};

// Names on stderr each key of a settings file typed in another case than
// upper, which is never read.
void WarnUnreadKeys(const cSHAREDSettings& settings, const std::string& fileName);

// Ctrl-C while a command runs: a flag the command's wait looks at, so that it
// ends through the program's shutdown instead of dying mid-transfer.
void CatchInterrupt();
bool Interrupted();

// An account the command line names must exist (have its POP3 server, or
// for sending any of server, SMTP server or reply address); else the refusal
// is printed and the status is 2.
std::optional<int> RequireAccount(const std::string& command, int number, bool needsServer);

// scan and fetch: one cycle over every account or one, printed as the list.
int RunCycleCommand(CommandArgs& args, bool retrieve, const char* name);

// check and score: the message in FILE (only its headers with headersOnly).
// A file that can't be read is named on stderr and gives false.
bool ReadMessageFile(const std::string& file, bool headersOnly, clsMessage& msg);

// The help of scan and fetch: the command's own opening, then the list, the
// options and the exit status they share. The text lives as long as the program.
const char* CycleCommandHelp(const char* opening);

} // namespace corva::app
