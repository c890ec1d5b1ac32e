// The program's root object without its window: it owns the long-lived
// objects, runs start-up and shutdown in their order, and drives the cycle
// over the accounts with frmGetMail, saving what it retrieves into the store.
// Whatever the user sees goes through frmMainView.
#pragma once

#include "core/Account.h"
#include "cycle/ServerRows.h"
#include "cycle/frmMainView.h"
#include "message/clsMessages.h"
#include "platform/Platform.h"
#include "pop3/frmGetMail.h"
#include "smtp/frmSendMailWrapper.h"
#include "store/RetrieveStore.h"

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <unordered_set>
#include <vector>

namespace corva {

class frmBayesFilter;
class frmFilters;
class frmMailer;
class frmMailerEvents;
class clsReminders;
class ReminderLink;
class ReminderView;
class UpdateCheckLink;

// Which accounts a cycle visits: every one in turn, or a single one.
class AccountSet {
public:
    static AccountSet all() { return AccountSet(-1); }
    static AccountSet one(int account) { return AccountSet(account); }
    bool isAll() const { return single_ < 0; }
    int first() const { return isAll() ? 0 : single_; }
    // The account a cycle stops after.
    int last() const { return isAll() ? Account::Last : single_; }

private:
    explicit AccountSet(int single) : single_(single) {}
    int single_;
};

// Everything one run of the cycle is asked to do.
struct CycleRequest {
    AccountSet accounts = AccountSet::all();
    // Retrieve what passes into the store, rather than list the headers.
    bool retrieve = false;
    // Delete blocked mail on the server.
    bool deleteBlocked = false;
    // Upload the Outbox once the cycle ends. False leaves standing what an
    // earlier request asked for and has not happened yet.
    bool uploadAfter = false;
    // Not 0: fetch this message of the one account on its own (read, view
    // source, download) instead of running a cycle.
    long specific = 0;
};

// Where the cycle stands; see the table above frmMain::checkmail.
enum class CycleState { Idle, Account, Ending };

class frmMain : private frmGetMailEvents, private SendMailWrapperListener {
public:
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
    //
    // One request runs at a time. The session's events move the cycle between
    // three states:
    //
    //   state     | checkmail     | Finished, NoMailServer, | Cancelled     | NoConnection
    //             |               | TimedOut                |               |
    //   ----------+---------------+-------------------------+---------------+---------------
    //   Idle      | Account first | nothing                 | nothing       | nothing
    //   Account n | refused       | Account n+1, passing    | Ending, the   | stays, and the
    //             |               | those without a server; | short way     | next end event
    //             |               | or Ending               |               | takes the short way
    //   Ending    | refused       | nothing                 | nothing       | nothing
    //
    // A request for one message starts the same way and ends when the message
    // arrives (SpecificMessage). Ending the short way ("Finished getting mail")
    // follows a stop, a one-account cycle or a fetched message; past the last
    // account the cycle
    // ends the long way ("Process complete", or the settings question when
    // no account has a reply address). A one-account cycle of the last account
    // has always ended the long way, and still does. Ending lasts until the
    // cycle is counted finished; the notices and the upload after it run in
    // Idle, where the settings question may start the next cycle.
    //
    // One failed account raises Cancelled, Finished and TimedOut in turn: the
    // first ends the cycle and the others find it Idle. What each event shows
    // (its notice, its status text) it shows in every state.
    //
    // False when the request was refused: a transfer is under way (for a
    // fetched message, an upload too), or the program is stopping.
    bool checkmail(const CycleRequest& request);
    // Stops a running transfer (the stop and delete buttons while Checking).
    void cancelcheck();
    // Applies changed lists to the headers of the last scan, with no connection.
    void rescanCachedmail();
    // True when the account takes only mail addressed to certain texts and this isn't.
    bool suppressmessage(const clsMessage& msg) const;
    void showsettings();
    // Loads both rule sets and the lists again, after the editor or the
    // settings changed them.
    void ReloadRules();
    void readsettings();
    void UploadMail();
    void notifyfinishedgettingmail(const std::string& text);
    void showmailerstatus(const std::string& text);

    // ---- Reminders (frmMainReminders.cpp) ----
    // The reminder object; null when it could not be started.
    clsReminders* Reminders() { return tkl_.get(); }
    // The window that shows the reminders; null shows nothing.
    void setReminderView(ReminderView* view);
    // The toolbar's reminder button and the mailer's ShowTKL.
    void starttkl();
    void TKL_TodaysEvents(const std::vector<std::string>& events);
    void TKL_UpcomingEvents(const std::vector<std::string>& events);
    void TKL_MailEvent(const std::string& subject, const std::string& alertId,
                       const std::string& text);
    // Forgets the alerts mailed on an earlier day.
    void clearsentalerts();

    // ---- Windows opened from outside: a mail link, a message file ----
    // A composer for a new message with these fields filled in.
    void OpenComposer(const std::string& to, const std::string& cc, const std::string& bcc,
                      const std::string& subject, const std::string& body);
    // The message in a file, in the reader; false (and a notice) when the
    // file can't be read.
    bool OpenMessageFile(const std::string& path);

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

    // The session's events as the session raises them, for driving the cycle
    // without a server.
    frmGetMailEvents& sessionEvents() { return *this; }

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
    CycleState State() const { return state_; }
    // A transfer is under way.
    bool Checking() const { return state_ == CycleState::Account; }
    bool Sending() const { return Sending_; }
    const CycleRequest& Request() const { return request_; }
    bool RetrieveMode() const { return request_.retrieve; }
    bool DeleteMode() const { return request_.deleteBlocked; }
    // The account being visited; -1 outside a cycle and once it was told to stop.
    int CurrentAccount() const;
    int LastAccount() const { return request_.accounts.last(); }
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
    const ServerRows& ServerMessages() const { return ServerMessages_; }
    // Messages written to the store since the program started.
    long MessagesSaved() const { return MessagesSaved_; }
    // True between checkmail and the end of its cycle (a fetched message is no cycle).
    bool CycleRunning() const { return state_ != CycleState::Idle && request_.specific == 0; }
    // Cycles that reached their end since the program started.
    long CyclesFinished() const { return cyclesFinished_; }
    bool autoScanTimerEnabled() const;

    frmGetMail& GetMail() { return *fGetMail_; }
    frmFilters& ServerFilters() { return *serverFilters_; }
    frmFilters& LocalFilters() { return *localFilters_; }
    frmSendMailWrapper& SendMailWrapper() { return *fSendMail_; }
    frmBayesFilter& BayesFilter() { return *bayes_; }
    frmMainView& View() { return *view_; }
    // The mailer, made at start-up; null before.
    frmMailer* Mailer() { return fMailer_.get(); }
    // The update check and its timer, made at start-up; null before.
    UpdateCheckLink* UpdateCheck() { return updateCheck_.get(); }

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
    void DeletionsUnconfirmed(const std::string& text, int counted) override;
    void NoMail(const std::string& title) override;
    void NoConnection() override;

    // frmSendMailWrapper's events; its Progress is the one above, which shows
    // both transfers' texts in the same panel.
    void Failed(const std::string& text) override;
    void NoMailToSend() override;
    void SendingFinished() override;

    void startProgramSteps(const StartOptions& options);
    // The reminder steps of start-up and shutdown.
    void startReminders();
    void scanReminders();
    void shutDownReminders();
    // Step 14 of shutdown: the open windows, from the last down to the second.
    void unloadForms();
    void runFirstRun();
    void applyWindowGeometry();
    void showProgramInTray();
    // Counts a message of this cycle and shows it, as a header report does;
    // item is its position in ServerMessages, 0 when it isn't kept there.
    void countAndShow(clsMessage& msg, long item);
    // Starts the transfer of the account the cycle stands at, or passes it by
    // when it has no server.
    void checknextaccount();
    // The transfer of the current account is over: the next one, or the ending.
    void donextaccount();
    // The ending steps; the long way past the last account.
    void endcycle(bool complete);
    // Shows a message just kept in ServerMessages and keeps what its line changed.
    void showKeptRow(clsMessage& msg);
    void AddMessageToList(clsMessage& msg, long item);
    void addservertolist(const std::string& title);
    void addnoticetolist(const std::string& text, const std::string& lines = "");
    void setuplistview();
    // Writes a retrieved message into the store; false when it could not be written.
    bool saveRetrievedMessage(clsMessage& msg);
    // Brings the tags of the folders that took messages since the last call up
    // to date: Unread.tag counts them, LastMsg.tag knows the newest.
    void flushUnreadTags();
    // A desktop notification of what this cycle brought, unless NotifyNewMail is off.
    void notifyNewMail();
    static std::string listedKey(const clsMessage& msg);
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
    std::unique_ptr<frmMailerEvents> mailerLink_;
    std::unique_ptr<frmMailer> fMailer_;
    std::unique_ptr<UpdateCheckLink> updateCheck_;
    frmBayesFilter* bayes_ = nullptr; // the program's one, which outlives this object
    std::unique_ptr<frmFilters> serverFilters_;
    std::unique_ptr<frmFilters> localFilters_;
    std::unique_ptr<platform::Timer> TimerAutoScan_;
    std::unique_ptr<platform::Timer> TimerIconFlash_;
    std::unique_ptr<platform::Timer> TimerLogFlush_;
    RetrieveStore retrieveStore_;

    // The cycle. The widths are those the counts have always had.
    CycleState state_ = CycleState::Idle;
    CycleRequest request_;
    int account_ = 0; // while in Account
    // Cancelled or lost connection: the next end event ends the cycle.
    bool stopRequested_ = false;
    bool Sending_ = false;
    int16_t ScanDelay_ = 0;
    int16_t SecondsElapsed_ = 0;
    bool NextCycleDeletes_ = false;
    bool NextCycleRetrieves_ = false;
    int16_t MessagesSeen_ = 0;
    int16_t MessagesKept_ = 0;
    double TotalDeleted_ = 0;
    double DeletedThisRun_ = 0;
    ServerRows ServerMessages_;
    std::array<int16_t, Account::Count> accountCount_{};
    bool AudioOn_ = false;
    bool NewMailArrived_ = false;
    bool SendAfterCheck_ = false;
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
    // For the new-mail notification: every message a line has shown as PASS or
    // SPAM? since the program started, and what this cycle added.
    std::unordered_set<std::string> listedBefore_;
    int freshListed_ = 0;
    long savedAtCycleStart_ = 0;
    // The reminders: the object, its events' link, its view, and whether
    // today's events were shown once in this run.
    std::unique_ptr<clsReminders> tkl_;
    std::unique_ptr<ReminderLink> tklLink_;
    ReminderView* reminderView_ = nullptr;
    bool remindersShown_ = false;
    // The message folder fell back to the program folder for the rest of the run.
    bool messageFolderFellBack_ = false;
};

} // namespace corva
