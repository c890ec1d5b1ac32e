// corva scan: looks into the accounts' mailboxes with TOP, without downloading
// or deleting anything, and lists what is there.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "core/Strings.h"
#include "core/mSHAREDSettings.h"
#include "message/clsMessage.h"
#include "platform/Platform.h"
#include "pop3/frmGetMail.h"

#include <chrono>
#include <climits>
#include <cstdio>
#include <iostream>
#include <optional>
#include <vector>

namespace corva::app {
namespace {

// Prints the list on stdout and the status texts on stderr, and notes how
// each account ended.
class ScanPrinter : public frmGetMailEvents {
public:
    void HeaderReceived(clsMessage& msg) override {
        touch();
        char size[32];
        std::snprintf(size, sizeof size, "%.2f kb", static_cast<double>(msg.Size));
        std::cout << msg.MessageNumThisAcc << '\t' << size << '\t' << msg.From << '\t'
                  << msg.Subject << '\n';
    }
    void Progress(const std::string& text) override {
        touch();
        std::cerr << text << '\n';
    }
    void POPError(const std::string& text) override {
        std::string line = text;
        while (!line.empty() && (line.back() == '\n' || line.back() == '\r')) line.pop_back();
        std::cerr << "Server error: " << line << '\n';
        failed = true;
    }
    void TimedOut(int seconds) override {
        std::cerr << "Timed out after " << seconds << " seconds without an answer\n";
        failed = true;
    }
    void NoConnection() override {
        std::cerr << "Could not reach the server\n";
        failed = true;
    }
    void NoMailServer() override { done = true; }
    void Finished() override { done = true; }

    void touch() { lastEvent = std::chrono::steady_clock::now(); }

    bool done = false;
    bool failed = false;
    std::chrono::steady_clock::time_point lastEvent = std::chrono::steady_clock::now();
};

int run(CommandArgs& args) {
    std::optional<std::string> accountText = args.option("--account");
    for (const auto& word : args.unknownOptions()) {
        std::cerr << "corva scan: unknown option '" << word << "'\n";
        return 2;
    }
    if (!args.rest().empty()) {
        std::cerr << "corva scan: unexpected '" << args.rest().front() << "'\n";
        return 2;
    }
    int only = -1;
    if (accountText) {
        std::string t = Trim(*accountText);
        bool digits =
            !t.empty() && t.size() <= 2 && t.find_first_not_of("0123456789") == std::string::npos;
        if (!digits || std::stoi(t) >= frmGetMail::AccountCount) {
            std::cerr << "corva scan: --account takes an account number from 0 to 19\n";
            return 2;
        }
        only = std::stoi(t);
    }

    HeadlessSession session;
    std::vector<int> accounts;
    for (int n = 0; n < frmGetMail::AccountCount; ++n)
        if (n == only || (only < 0 && !Trim(sget("SERVER" + Str(n), "").toText()).empty()))
            accounts.push_back(n);
    if (accounts.empty()) {
        std::cerr << "corva scan: no account has a server (SERVERn in Corva.ini)\n";
        return 1;
    }

    ScanPrinter printer;
    frmGetMail pop;
    pop.setListener(&printer);
    // The session ends every transfer itself, by reply or by its time-out; this
    // limit only guards against a transfer that never started.
    const auto quietLimit = std::chrono::seconds(sget("MailTimeout", 30).toInt() + 10);
    bool anyFailed = false;
    for (int n : accounts) {
        printer.done = false;
        printer.failed = false;
        printer.touch();
        // Asked for by number, an account is scanned even when it is switched off.
        pop.GetHeaders(n, false, only >= 0);
        platform::current().eventLoop().runUntil(
            [&] {
                return printer.done ||
                       std::chrono::steady_clock::now() - printer.lastEvent > quietLimit;
            },
            INT_MAX);
        if (!printer.done) {
            pop.CancelMail();
            printer.failed = true;
        }
        anyFailed = anyFailed || printer.failed;
    }
    return anyFailed ? 1 : 0;
}

const CommandRegistration registration({
    "scan",
    "corva scan [--account N]",
    "list the messages on the servers without downloading them",
    "Visits every account that has a server (or only account N, 0 to 19 as in\n"
    "its keys SERVERn ...) and reads each message's headers with TOP. Prints one\n"
    "line per message on stdout: its number, size, From and Subject, separated by\n"
    "tabs; the status texts go to stderr. Nothing is downloaded or deleted.\n"
    "A server written as host:port is reached on that port, else on 110.\n"
    "The exit status is 1 when a server refused, timed out or could not be reached.",
    run,
});

} // namespace
} // namespace corva::app
