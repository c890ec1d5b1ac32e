// corva update: the update check of the window, on demand. It never installs
// or opens what it downloads; a download whose SHA-256 does not match the one
// the update server names is erased.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "app/Json.h"
#include "core/AppInfo.h"
#include "core/TerminalText.h"
#include "cycle/UpdateCheckLink.h"

#include <iostream>

namespace corva::app {
namespace {

constexpr const char* Usage = "corva update --check [--json] | --download [--to FILE]";

// Saves where --to says, else in the program folder under the server's name.
class CommandView : public fSHAREDUpdaterView {
public:
    explicit CommandView(std::string target) : target_(std::move(target)) {}
    std::string ChooseSaveFile(const std::string& suggested) override {
        return target_.empty() ? AppPath() + suggested : target_;
    }

private:
    std::string target_;
};

int run(CommandArgs& args) {
    const bool check = args.flag("--check");
    const bool download = args.flag("--download");
    const bool json = args.flag("--json");
    const std::string target = args.option("--to", "a file").value_or("");
    if (auto refused = args.refused(Usage, 0, 0)) return *refused;
    if (check == download) return RefuseWith("update", "give --check or --download");
    if (json && download) return RefuseWith("update", "--json goes with --check");

    HeadlessSession session;
    fSHAREDUpdater& updater = session.main().UpdateCheck()->Updater();
    CommandView view(target);
    updater.setView(&view);
    const UpdateCheckResult result = updater.CheckForUpdate(true);
    const UpdateVersion& v = updater.Available();
    const bool newer = result == UpdateCheckResult::Newer;
    if (json) {
        JsonObject o;
        o.text("running", AppVersion());
        if (v.read) o.text("available", v.text());
        o.truth("newer", newer);
        if (!v.address.empty()) o.text("address", v.address);
        if (!v.sha256.empty()) o.text("sha256", v.sha256);
        o.text("status", updater.LastStatus());
        std::cout << o.str() << "\n";
    } else if (result == UpdateCheckResult::UpToDate || newer) {
        std::cout << "Running version " << AppVersion() << "\n"
                  << "Latest available version is " << terminalText(v.text()) << "\n"
                  << (newer ? "Version " + terminalText(v.text()) + " is available!"
                            : std::string("You're up to date!"))
                  << "\n";
        if (newer) std::cout << "Download: " << terminalText(v.address) << "\n";
        if (newer && !v.sha256.empty()) std::cout << "SHA-256: " << v.sha256 << "\n";
    }
    if (result != UpdateCheckResult::UpToDate && !newer) {
        std::cerr << "corva update: " << terminalText(updater.LastStatus()) << " ("
                  << terminalText(fSHAREDUpdater::StatusAddress()) << ")\n";
        return 1;
    }
    if (!download || !newer) return 0;
    if (!updater.cmdDownload()) {
        std::cerr << "corva update: " << terminalText(updater.LastStatus()) << "\n";
        return 1;
    }
    std::cout << terminalText(updater.LastStatus()) << "\n";
    if (v.sha256.empty())
        std::cout << "The update server gives no SHA-256 digest for this file: check it before "
                     "you install it.\n";
    return 0;
}

const CommandRegistration registration({
    "update",
    Usage,
    "Check for a newer Corva, or download it",
    "--check reads the status file on the update server (the UpdateServer setting,\n"
    "through the proxy settings) and says whether a newer version is available;\n"
    "--json prints the answer as one object. It records the day of the check in\n"
    "LastUpdateCheck, as the window's weekly check does. --download also fetches\n"
    "the new build into the program folder, or FILE with --to, from the address\n"
    "the status file names: http://, https://, or ftp:// and \"ftp.\" over FTP\n"
    "(anonymous unless the address carries user:password, passive mode; through a\n"
    "manual proxy as a web request to it). The file's size is checked against what\n"
    "the server announced (Content-Length, or FTP's SIZE), and when the status file\n"
    "names a SHA-256 digest a file that does not match it is erased. Nothing\n"
    "downloaded is opened or run. The exit status is 1 when the check or the\n"
    "download failed.",
    run,
});

} // namespace
} // namespace corva::app
