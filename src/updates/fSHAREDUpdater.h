// The update check: once a week at most (the owner's timer decides), or
// when the user asks, it reads the status file on the update server, compares
// the version with the running one, shows the details and downloads the new
// build. A download is checked against the SHA-256 the status file names
// before anything hands it on; one that does not match is erased.
#pragma once

#include "updates/UpdateVersion.h"
#include "updates/cSHAREDInternet.h"

#include <string>

namespace corva {

// What the updater's window shows. Every method has an empty default.
class fSHAREDUpdaterView {
public:
    virtual ~fSHAREDUpdaterView() = default;
    virtual void ShowWindow() {}
    // "Version 0.1.0": the running version.
    virtual void ShowVersion(const std::string& text) { (void)text; }
    // The latest line of the check or the download.
    virtual void ShowStatus(const std::string& text) { (void)text; }
    // The details of the available version.
    virtual void ShowDetails(const std::string& text) { (void)text; }
    virtual void ShowProgress(long long received, long long total) {
        (void)received;
        (void)total;
    }
    // A download is under way: the download buttons give way to Cancel.
    virtual void SetBusy(bool busy) { (void)busy; }
    // The file a download goes to; "" when the user cancels.
    virtual std::string ChooseSaveFile(const std::string& suggested) {
        (void)suggested;
        return "";
    }
};

// The updater's events to its owner.
class UpdaterEvents {
public:
    virtual ~UpdaterEvents() = default;
    virtual void Updater_Finished() {}
    // A quiet check's outcome, for the status bar.
    virtual void Updater_Status(const std::string& text) { (void)text; }
    // A checked download the user wants installed.
    virtual void Updater_InstallFile(const std::string& path) { (void)path; }
};

enum class UpdateCheckResult { Failed, Unreadable, NoAddress, UpToDate, Newer };

class fSHAREDUpdater : private cSHAREDInternetEvents {
public:
    explicit fSHAREDUpdater(fSHAREDUpdaterView* view = nullptr, UpdaterEvents* events = nullptr);
    ~fSHAREDUpdater() override;
    fSHAREDUpdater(const fSHAREDUpdater&) = delete;
    fSHAREDUpdater& operator=(const fSHAREDUpdater&) = delete;
    void setView(fSHAREDUpdaterView* view) { view_ = view ? view : &noView_; }
    void setEvents(UpdaterEvents* events) { events_ = events; }

    // The two status files, under the UpdateServer setting.
    static std::string StatusAddress();
    static std::string DetailsAddress();

    // Reads the status file and compares. quiet: no questions, no boxes.
    UpdateCheckResult CheckForUpdate(bool quiet);
    // Shows the window and checks, asking what to do.
    void ShowAndCheck();
    // Fetches the details of the version and shows them.
    bool cmdShowDetail();
    // Downloads the new build to a file the user chooses.
    bool cmdDownload();
    // Downloads into the program folder and offers to install it.
    bool cmdDownloadInstall();
    void DownloadAndInstall() { cmdDownloadInstall(); }
    // Downloads url into path with the checks of size and content; false
    // (and the file erased) when it failed.
    bool DownloadFile(const std::string& url, const std::string& path);
    // Checks a finished download against the digest the status file named;
    // a mismatch erases it. True when it matched.
    bool VerifyDownload(const std::string& path);
    void StopAll();

    const UpdateVersion& Available() const { return available_; }
    bool Busy() const { return busy_; }
    // The last text shown, for the command line and tests.
    const std::string& LastStatus() const { return lastStatus_; }
    cSHAREDInternet& Internet() { return internet_; }

private:
    void Internet_StateChanged(const std::string& state) override;
    void Internet_Status(const std::string& text) override;
    void Internet_Progress(long long received, long long total) override;
    void show(const std::string& text);
    std::string downloadName() const;

    fSHAREDUpdaterView noView_;
    fSHAREDUpdaterView* view_;
    UpdaterEvents* events_;
    cSHAREDInternet internet_;
    UpdateVersion available_;
    bool busy_ = false;
    std::string lastStatus_;
};

} // namespace corva
