#include "updates/fSHAREDUpdater.h"

#include "core/AppInfo.h"
#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/Variant.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "localise/modLanguages.h"
#include "platform/Crypto.h"
#include "platform/Platform.h"

namespace corva {

namespace {
constexpr const char* Module = "fSHAREDUpdater";
// An error page is small; a real build never is.
constexpr long long SmallFile = 64 * 1024;

std::string serverFolder() {
    std::string base = sget("UpdateServer", MakerSite()).toText();
    if (!base.empty() && base.back() != '/') base += '/';
    return base + "versions/";
}

void storeCheckDate() {
    sset("LastUpdateCheck", DateTime::today().format("dd/mmm/yyyy"));
}
} // namespace

fSHAREDUpdater::fSHAREDUpdater(fSHAREDUpdaterView* view, UpdaterEvents* events)
    : view_(view ? view : &noView_), events_(events) {
    internet_.addListener(this);
}

fSHAREDUpdater::~fSHAREDUpdater() {
    internet_.removeListener(this);
}

std::string fSHAREDUpdater::StatusAddress() {
    return serverFolder() + "QBX_current.txt";
}

std::string fSHAREDUpdater::DetailsAddress() {
    return serverFolder() + "QBX_details.txt";
}

void fSHAREDUpdater::show(const std::string& text) {
    lastStatus_ = text;
    view_->ShowStatus(text);
}

// States and progress lines alike go to the one status line.
void fSHAREDUpdater::Internet_StateChanged(const std::string& state) {
    show(state);
}

void fSHAREDUpdater::Internet_Status(const std::string& text) {
    show(text);
}

void fSHAREDUpdater::Internet_Progress(long long received, long long total) {
    view_->ShowProgress(received, total);
}

UpdateCheckResult fSHAREDUpdater::CheckForUpdate(bool quiet) {
    UpdateCheckResult result = UpdateCheckResult::Failed;
    guarded("CheckForUpdate", Module, [&] {
        view_->ShowVersion("Version " + AppVersion());
        show("Checking for update");
        const std::string text = Trim(internet_.openurl(StatusAddress()));
        if (text.empty() || InStrNoCase(text, "<HTML") > 0 || internet_.lastStatus() >= 400) {
            LogAction("Could not retrieve information from the update server.");
            show("Could not retrieve update status");
            if (fSHAREDInternet::networkMissing())
                LogAction("MSINET control is missing or outdated");
            if (!quiet)
                platform::current().prompts().messageBox(
                    gettranslation(
                        "Update check failed.  You can look for a new version yourself at ") +
                        MakerSite(),
                    platform::Buttons::Ok, platform::Icon::Exclamation);
            return;
        }
        show("Data retrieved");
        available_ = ExtractVersion(text);
        if (!available_.read) {
            result = UpdateCheckResult::Unreadable;
            show("Could not read update status from file");
            return;
        }
        if (available_.address.empty()) {
            result = UpdateCheckResult::NoAddress;
            show("Update check failed, could not read download filename");
            return;
        }
        storeCheckDate();
        if (IsNewerVersion(available_, RunningVersion())) {
            result = UpdateCheckResult::Newer;
            show("Version " + available_.text() + " is available!");
            if (!quiet &&
                platform::current().prompts().messageBox(
                    gettranslation(
                        "An update is available. Would you like to view the details now?"),
                    platform::Buttons::YesNo, platform::Icon::Question) == platform::Answer::Yes) {
                view_->ShowWindow();
                cmdShowDetail();
            }
        } else {
            result = UpdateCheckResult::UpToDate;
            LogAction("Already up to date (Available version is " + available_.text() + ")");
            show("You're up to date!");
            show("Latest available version is " + available_.text());
        }
    });
    if (events_) {
        if (result == UpdateCheckResult::Newer) events_->Updater_Status(lastStatus_);
        events_->Updater_Finished();
    }
    return result;
}

void fSHAREDUpdater::ShowAndCheck() {
    view_->ShowWindow();
    CheckForUpdate(false);
}

bool fSHAREDUpdater::cmdShowDetail() {
    return guardedValue("cmdShowDetail", Module, false, [&] {
        show("Retrieving info...");
        const std::string text = internet_.openurl(DetailsAddress());
        if (Trim(text).empty() || text.find("404") != std::string::npos ||
            internet_.lastStatus() >= 400) {
            show("Unable to read data from server. Please check your internet settings and try "
                 "again.");
            return false;
        }
        view_->ShowDetails(text);
        show("Data retrieved");
        return true;
    });
}

bool fSHAREDUpdater::DownloadFile(const std::string& url, const std::string& path) {
    if (url.empty()) {
        show("No address specified");
        return false;
    }
    busy_ = true;
    view_->SetBusy(true);
    platform::current().prompts().setCursor(platform::Cursor::BusyBackground);
    LogAction("Trying to download " + url);
    const DownloadResult got = internet_.downloadfile(url, path);
    busy_ = false;
    view_->SetBusy(false);
    platform::current().prompts().setCursor(platform::Cursor::Normal);

    const long long expected = got.http.contentLength;
    std::string error;
    if (got.http.cancelled)
        error = "Download cancelled";
    else if (got.http.timedOut)
        error = "Download timed out. Please try again.";
    else if (expected >= 0 && got.bytes < expected)
        error = "Error - Downloaded file is incomplete. Please retry";
    else if (got.http.failed || !got.written || !FileExists(path))
        error = "Error - Download failed.";
    else if (got.http.status >= 400 ||
             (got.bytes < SmallFile && InStrNoCase(LoadTextFile(path), "<HTML") > 0))
        error = "Error - File not found on server.";
    if (error.empty()) return true;
    EraseFile(path);
    LogAction(error + " (" + url + ")");
    show(error);
    return false;
}

bool fSHAREDUpdater::VerifyDownload(const std::string& path) {
    return guardedValue("VerifyDownload", Module, false, [&] {
        if (available_.sha256.empty()) return false;
        const std::string digest = platform::sha256Hex(LoadTextFile(path));
        if (digest == available_.sha256) {
            LogAction("SHA-256 of " + path + " matches");
            return true;
        }
        EraseFile(path);
        LogAction("SHA-256 of " + path + " is " + digest + ", expected " + available_.sha256);
        show("Error - The download does not match its published SHA-256 digest and was "
             "deleted. Please retry later.");
        return false;
    });
}

std::string fSHAREDUpdater::downloadName() const {
    std::string name = available_.address.substr(0, available_.address.find_first_of("?#"));
    name =
        name.substr(name.find_last_of('/') == std::string::npos ? 0 : name.find_last_of('/') + 1);
    cleanstring(name);
    if (name.empty() || name.find_first_not_of('.') == std::string::npos) name = "corva-update";
    return name;
}

bool fSHAREDUpdater::cmdDownload() {
    return guardedValue("cmdDownload", Module, false, [&] {
        if (available_.address.empty()) { // no check has named a build yet
            show("No address specified");
            return false;
        }
        const std::string path = view_->ChooseSaveFile(downloadName());
        if (path.empty()) return false;
        if (!DownloadFile(available_.address, path)) return false;
        if (!available_.sha256.empty() && !VerifyDownload(path)) return false;
        show("File saved to " + path);
        return true;
    });
}

bool fSHAREDUpdater::cmdDownloadInstall() {
    return guardedValue("cmdDownloadInstall", Module, false, [&] {
        const std::string path = AppPath() + downloadName();
        if (!DownloadFile(available_.address, path)) return false;
        // Nothing downloaded is handed on unchecked: without a digest the
        // file stays where it is for the user to judge.
        if (available_.sha256.empty()) {
            show("File saved to " + path +
                 ". The update server gives no SHA-256 digest for it, so it is not installed "
                 "from here.");
            return false;
        }
        if (!VerifyDownload(path)) return false;
        show("File saved to " + path);
        if (platform::current().prompts().messageBox(
                gettranslation("The update has been downloaded. Do you want to install it now?"),
                platform::Buttons::YesNo, platform::Icon::Question) == platform::Answer::Yes &&
            events_)
            events_->Updater_InstallFile(path);
        return true;
    });
}

void fSHAREDUpdater::StopAll() {
    internet_.cancel();
}

} // namespace corva
