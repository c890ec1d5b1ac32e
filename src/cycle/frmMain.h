// The program's root object without its window: it owns the long-lived
// objects, runs start-up and shutdown in their order, and drives the cycle
// over the accounts with frmGetMail, saving what it retrieves into the store.
// Whatever the user sees goes through frmMainView.
#pragma once

#include "cycle/frmMainView.h"
#include "message/clsMessages.h"
#include "platform/Platform.h"
#include "pop3/frmGetMail.h"
#include "smtp/frmSendMailWrapper.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>

namespace corva {

class frmBayesFilter;
class frmFilters;

class frmMain : private frmGetMailEvents, private SendMailWrapperListener {
public:
    static constexpr int AccountCount = 20;

    // Who decides whether the auto-scan timer runs.
    enum class AutoScan {
        Settings, // ScanOnStart, as the window program has it
        Off,      // never: a command that runs one cycle and ends
        On        // always: a command that stays and cycles on DELAY
    };

    struct StartOptions {
        // No windows: the first run and the outbox question become notices.
        bool headless = false;
        AutoScan autoScan = AutoScan::Settings;
        // Seconds between automatic scans instead of DELAY, for this run only.
        std::optional<int16_t> delaySeconds;
        // A mail link or file given when the program was started.
        std::string commandLine;
    };

    // view may be null (nothing is shown); it must outlive this object.
    explicit frmMain(frmMainView* view = nullptr);
    ~frmMain() override;
    frmMain(const frmMain&) = delete;
    frmMain& operator=(const frmMain&) = delete;

    // ---- Start-up and shutdown ----
    // Runs once, whatever calls it again.
    void StartProgram(const StartOptions& options);
    void StartProgram() { StartProgram(StartOptions{}); }
    // False when the user chose to stay (mail left in the Outbox); the program runs on.
    bool exitprog();
    // The window's close box hides instead of quitting; true when the close is cancelled.
    bool QueryUnload(bool fromCloseBox);
    bool started() const { return started_; }
    bool firstRun() const { return firstRun_; }
    bool shutDown() const { return shutDown_; }

    // ---- The cycle ----
    void checkmail(bool deleteMode, bool singleAccount, int account, bool retrieve);
    void checknextaccount(bool force);
    void donextaccount();
    // Stops a running transfer (the stop and delete buttons while Checking).
    void cancelcheck();
    // Applies changed lists to the headers of the last scan, with no connection.
    void rescanCachedmail();
    // True when the account takes only mail addressed to certain texts and this isn't.
    bool suppressmessage(const clsMessage& msg) const;
    void showsettings();
    void readsettings();
    void UploadMail();
    void notifyfinishedgettingmail(const std::string& text);
    void showmailerstatus(const std::string& text);

    // The callers of checkmail.
    void mnuScan_Click();
    void mnuScanAcc_Click(int account);
    // F2, F3, F5 in the window; refused while Checking.
    enum class Key { F2, F3, F5 };
    void KeyDown(Key key, bool ctrl);
    void scananddisplayspecific(int account);
    void scananddeletespecific(int account);
    void retrievemailspecific(int account);
    void downloadmail(bool deleteBlocked);
    void DownloadFromAccount(bool deleteBlocked, int account);
    void fMailer_Scan();
    void fMailer_ScanSpecific(int account);
    void fMailer_ScanDel();
    void fMailer_ScanDelSpecific(int account);
    void fMailer_DownloadMail();
    void fMailer_DownloadMailNoUpload();
    void fMailer_DLWithClear();
    void fMailer_DLFrom(int account);
    void fMailer_UpDownWithClear();
    void fMailer_UpDownWithClearFrom(int account);
    void fMailer_SendRcvDel();
    void fMailer_SendRcvDelSpecific(int account);

    // ---- Automatic scanning ----
    void setmailtimerinterval();
    void startmailtimer();
    void stopmailtimer();
    void TimerAutoScan_Timer();
    void displaytimeleft();

    // ---- Lifetime count of deleted junk ----
    void globalspamcount();
    void saveglobalspamcount();

    // ---- Tray ----
    void starticontimer();
    void stopicontimer();
    void showlarges();

    // ---- State, for views, commands and tests ----
    bool Checking() const { return Checking_; }
    bool Sending() const { return Sending_; }
    bool RetrieveMode() const { return RetrieveMode_; }
    bool DeleteMode() const { return DeleteMode_; }
    int16_t CurrentAccount() const { return CurrentAccount_; }
    int16_t LastAccount() const { return LastAccount_; }
    int16_t ScanDelay() const { return ScanDelay_; }
    int16_t SecondsElapsed() const { return SecondsElapsed_; }
    bool NextCycleDeletes() const { return NextCycleDeletes_; }
    bool NextCycleRetrieves() const { return NextCycleRetrieves_; }
    void setNextCycleRetrieves(bool on) { NextCycleRetrieves_ = on; }
    int16_t MessagesSeen() const { return MessagesSeen_; }
    int16_t MessagesKept() const { return MessagesKept_; }
    double TotalDeleted() const { return TotalDeleted_; }
    double DeletedThisRun() const { return DeletedThisRun_; }
    int16_t AccountMessages(int account) const;
    bool AudioOn() const { return AudioOn_; }
    bool NewMailArrived() const { return NewMailArrived_; }
    bool SendAfterCheck() const { return SendAfterCheck_; }
    void setSendAfterCheck(bool on) { SendAfterCheck_ = on; }
    const clsMessages& ServerMessages() const { return ServerMessages_; }
    // Messages written to the store since the program started.
    long MessagesSaved() const { return MessagesSaved_; }
    // True between checkmail and the end of its cycle.
    bool CycleRunning() const { return cycleRunning_; }
    // Cycles that reached their end since the program started.
    long CyclesFinished() const { return cyclesFinished_; }
    bool autoScanTimerEnabled() const;

    frmGetMail& GetMail() { return *fGetMail_; }
    frmFilters& ServerFilters() { return *serverFilters_; }
    frmFilters& LocalFilters() { return *localFilters_; }
    frmSendMailWrapper& SendMailWrapper() { return *fSendMail_; }
    frmBayesFilter& BayesFilter() { return *bayes_; }
    frmMainView& View() { return *view_; }

    // The folder a retrieved message goes to, ending in "/": its DestFolder
    // under the message folder, else Inbox.
    static std::string destinationFolder(const clsMessage& msg);
    // The base of a stored message's file name: the subject, cut to its first
    // 35 characters when it is longer than 50.
    static std::string fileBaseFromSubject(const std::string& subject);
    // The verdict word of a list line.
    static std::string verdictWord(const clsMessage& msg);

private:
    // frmGetMail's events; each is the handler fGetMail_<event>.
    void HeaderReceived(clsMessage& msg) override;
    void MessageReceived(clsMessage& msg) override;
    void SpecificMessage(clsMessage& msg) override;
    void Progress(const std::string& text) override;
    void POPError(const std::string& serverText) override;
    void DoingServer(const std::string& title) override;
    void TimedOut(int seconds) override;
    void Finished() override;
    void Cancelled() override;
    void NoMailServer() override;
    void DeletedSpam(int count) override;
    void NoMail(const std::string& title) override;
    void NoConnection() override;

    // frmSendMailWrapper's events; its Progress is the one above, which shows
    // both transfers' texts in the same panel.
    void Failed(const std::string& text) override;
    void NoMailToSend() override;
    void SendingFinished() override;

    void startProgramSteps(const StartOptions& options);
    void runFirstRun();
    void applyWindowGeometry();
    void showProgramInTray();
    // Counts a message of this cycle and shows it, as a header report does.
    void countAndShow(clsMessage& msg);
    void endCycle();
    void AddMessageToList(clsMessage& msg);
    void addservertolist(const std::string& title);
    void addnoticetolist(const std::string& text);
    void setuplistview();
    // Writes a retrieved message into the store; false when it could not be written.
    bool saveRetrievedMessage(clsMessage& msg);
    // Brings the tags of the folders that took messages since the last call up
    // to date: Unread.tag counts them, LastMsg.tag knows the newest.
    void flushUnreadTags();
    void swaptrayicon();
    void LocalChangetrayicon(TrayPicture picture);
    std::string firstAccountTitle(bool& found) const;
    bool anyReplyAddress() const;
    bool outboxHoldsMail() const;
    bool scanOnStartSet() const;

    frmMainView* view_;
    frmMainView noView_;
    StartOptions options_;
    bool started_ = false;
    bool firstRun_ = false;
    bool shutDown_ = false;

    std::unique_ptr<frmGetMail> fGetMail_;
    std::unique_ptr<frmSendMailWrapper> fSendMail_;
    frmBayesFilter* bayes_ = nullptr; // the program's one, which outlives this object
    std::unique_ptr<frmFilters> serverFilters_;
    std::unique_ptr<frmFilters> localFilters_;
    std::unique_ptr<platform::Timer> TimerAutoScan_;
    std::unique_ptr<platform::Timer> TimerIconFlash_;

    // The cycle. The widths are those the counts have always had.
    bool Checking_ = false;
    bool Sending_ = false;
    bool RetrieveMode_ = false;
    bool DeleteMode_ = false;
    int16_t CurrentAccount_ = -1;
    int16_t LastAccount_ = 19;
    int16_t ScanDelay_ = 0;
    int16_t SecondsElapsed_ = 0;
    bool NextCycleDeletes_ = false;
    bool NextCycleRetrieves_ = false;
    int16_t MessagesSeen_ = 0;
    int16_t MessagesKept_ = 0;
    double TotalDeleted_ = 0;
    double DeletedThisRun_ = 0;
    clsMessages ServerMessages_;
    std::array<int16_t, AccountCount> accountCount_{};
    bool AudioOn_ = false;
    bool NewMailArrived_ = false;
    bool SendAfterCheck_ = false;
    bool cycleRunning_ = false;
    // Shutdown has begun: no new cycle starts and the timer stays off.
    bool stopping_ = false;

    // The tray.
    bool trayShown_ = false;
    bool showingLarge_ = true;
    TrayPicture trayPicture_ = TrayPicture::LargeS;

    long MessagesSaved_ = 0;
    // Messages stored per folder whose Unread.tag doesn't count them yet: the tag
    // is written once per account, not once per message, as each write waits
    // for the disk.
    std::map<std::string, int> pendingUnread_;
    std::map<std::string, std::string> pendingNewest_; // folder -> newest ReceiveDate
    long cyclesFinished_ = 0;
    // The message folder fell back to the program folder for the rest of the run.
    bool messageFolderFellBack_ = false;
};

} // namespace corva
