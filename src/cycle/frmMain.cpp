// The root object's logic: start-up, shutdown and the cycle over the accounts.
#include "cycle/frmMain.h"

#include "bayes/modMailSubs.h"
#include "contacts/clsContacts.h"
#include "core/AppInfo.h"
#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/ErrorReport.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Startup.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "core/Variant.h"
#include "core/mSHAREDDelay.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "cycle/MailerCycleLink.h"
#include "cycle/UpdateCheckLink.h"
#include "cycle/frmMainReminders.h"
#include "filters/frmFilters.h"
#include "localise/modLanguages.h"
#include "mailer/frmMailer.h"
#include "message/clsMessage.h"
#include "store/FolderCaches.h"
#include "store/RetrieveStore.h"
#include "store/modFolders.h"
#include "store/modTags.h"
#include "tickets/modCMSMail.h"

#include <cerrno>
#include <cmath>
#include <limits>

namespace corva {

namespace {

const char* Module = "frmMain";

// A 16-bit count that would overflow is an error of its own, recorded, and
// the count stays where it was.
void add16(int16_t& value, int delta, const char* procedure) {
    int sum = value + delta;
    if (sum > std::numeric_limits<int16_t>::max() || sum < std::numeric_limits<int16_t>::min()) {
        HandleError(RunError(Err::Overflow), procedure, Module);
        return;
    }
    value = static_cast<int16_t>(sum);
}

std::string withoutLineEnds(const std::string& text) {
    return Replace(Replace(text, "\r", ""), "\n", "");
}

// A numeric option ticked in the settings: a number saved as " 1 " reads back
// as text, so the comparison is made on the trimmed text.
bool optionIsOne(const char* key) {
    return Trim(sget(key, 0).toText()) == "1";
}

} // namespace

frmMain::frmMain(frmMainView* view) : view_(view ? view : &noView_) {
    TimerAutoScan_ = platform::current().createTimer();
    TimerAutoScan_->setCallback([this] { TimerAutoScan_Timer(); });
    TimerIconFlash_ = platform::current().createTimer();
    TimerIconFlash_->setCallback([this] { swaptrayicon(); });
    // The run log buffers its lines; this keeps them at most a second from the disk.
    TimerLogFlush_ = platform::current().createTimer();
    TimerLogFlush_->setCallback([] { FlushLog(); });
    TimerLogFlush_->setInterval(1000);
    TimerLogFlush_->setEnabled(true);
}

frmMain::~frmMain() {
    TimerAutoScan_->setEnabled(false);
    TimerIconFlash_->setEnabled(false);
    TimerLogFlush_->setEnabled(false);
    FlushLog();
    if (fGetMail_) fGetMail_->setListener(nullptr);
}

// ---------------------------------------------------------------------------
// Start-up and shutdown

void frmMain::StartProgram(const StartOptions& options) {
    // Whatever loads the window a second time, the program starts once.
    if (started_) return;
    started_ = true;
    options_ = options;
    // A start that can't go on is reported, not only recorded.
    reported("StartProgram", Module, [&] { startProgramSteps(options); });
    // A start that failed part-way still leaves every object the program
    // reaches for, so that the error costs what it broke and no more.
    guarded("StartProgram", Module, [&] {
        if (!fGetMail_) {
            fGetMail_ = std::make_unique<frmGetMail>();
            fGetMail_->setListener(this);
        }
        if (!fSendMail_) {
            fSendMail_ = std::make_unique<frmSendMailWrapper>();
            fSendMail_->setListener(this);
        }
        if (!bayes_) bayes_ = &StartBayesFilter();
        if (!serverFilters_) serverFilters_ = std::make_unique<frmFilters>();
        if (!localFilters_) localFilters_ = std::make_unique<frmFilters>();
        fGetMail_->setRuleChecks(serverFilters_.get(), localFilters_.get());
    });
}

void frmMain::startProgramSteps(const StartOptions& options) {
    view_->ShowSplash();
    DoEvents();

    StartLogs();

    firstRun_ = !FileExists(SettingsFilePath());
    if (firstRun_) {
        view_->HideSplash();
        runFirstRun();
        view_->ShowSplash();
    }

    view_->SplashStatus("Loading settings");
    DoEvents();
    LoadPathsStore();
    ReadDataFolder();
    for (const char* sub : {"AutoReply", "Sigs", "DB", "DB/Attachments"})
        MkMissingDir(DataFolder + sub);

    LoadMainSettings();
    MigrateOldSettings();

    ReadScoringNumbers();
    readmessagefolder();
    ReadFilterFolder();

    MigrateSignature();

    view_->SplashStatus("Loading languages");
    // The command line keeps its texts English, so scripts read the same words.
    if (!options.headless) StartLanguages();

    view_->SplashStatus("Starting Reminders");
    DoEvents();
    startReminders();

    view_->SplashStatus("Configuring Updater");
    DoEvents();
    updateCheck_ = std::make_unique<UpdateCheckLink>(*view_);

    LogAction("Loading contacts");
    view_->SplashStatus("Loading Contacts");
    DoEvents();
    Contacts().LoadContacts();

    LogAction("Setting up list");
    view_->SetupListColumns(ListColumnCaptions());
    if (sget("CMSMODE", false).toBool()) view_->ShowCmsButton(true);

    LogAction("Loading getmail");
    fGetMail_ = std::make_unique<frmGetMail>();
    fGetMail_->setListener(this);

    LogAction("Loading mailer");
    mailerLink_ = std::make_unique<MailerCycleLink>(*this);
    fMailer_ = std::make_unique<frmMailer>();
    fMailer_->setEvents(mailerLink_.get());

    view_->SplashStatus("Loading Filters");
    DoEvents();
    LogAction("Loading Sendmail");
    fSendMail_ = std::make_unique<frmSendMailWrapper>();
    fSendMail_->setListener(this);

    LogAction("Loading Bayes form");
    bayes_ = options.headless ? &InstallBayesFilter() : &StartBayesFilter();

    LogAction("Loading filters form");
    serverFilters_ = std::make_unique<frmFilters>();
    localFilters_ = std::make_unique<frmFilters>();
    LogAction("Loading server filters");
    serverFilters_->ReloadFilters(false);
    LogAction("Loading local filters");
    localFilters_->ReloadFilters(true);
    fGetMail_->setRuleChecks(serverFilters_.get(), localFilters_.get());
    fMailer_->setLocalFilters(localFilters_.get());
    fMailer_->setBayes(bayes_);

    view_->SplashStatus("Applying Settings");
    DoEvents();
    LogAction("Applying settings");
    readsettings();

    LogAction("Setting tray picture");
    trayPicture_ = TrayPicture::LargeS;
    showingLarge_ = true;

    LogAction("Loading spam count");
    globalspamcount();

    LogAction("Hiding splash screen");
    view_->HideSplash();
    DoEvents();

    LogAction("Displaying tray icon");
    showProgramInTray();
    DoEvents();
    stopicontimer();

    if (options.autoScan != AutoScan::Off) {
        bool scan = scanOnStartSet();
        bool retrieve = !scan && sget("RetrieveOnStart", false).toBool();
        if (retrieve) NextCycleRetrieves_ = true;
        if (scan || retrieve) {
            // The second tick, 400 ms on, fires the first scan.
            TimerAutoScan_->setInterval(200);
            TimerAutoScan_->setEnabled(true);
            ScanDelay_ = 1;
        }
    }

    if (!options.headless) applyWindowGeometry();

    scanReminders();

    if (sget("DisableAutoUpdateCheck", false).toBool()) {
        LogAction("Auto update disabled");
        view_->SetStatusPanel(3, "Corva auto-update disabled");
    } else {
        LogAction("Update Check Enabled");
        view_->SetStatusPanel(3, "Auto-update enabled");
    }
    // A command contacts no update server by itself; the window checks 30 s on.
    if (!options.headless) updateCheck_->StartTimer();

    if (optionIsOne("STARTMIN")) {
        LogAction("Hiding main form");
        view_->HideWindow();
    }

    LogAction("Corva startup complete, ready for some action.");
    LogAction(std::string(50, '='));

    if (!options.commandLine.empty()) view_->HandleCommandLine(options.commandLine);

    if (!options.headless && !sget("ShowScannerFirst", true).toBool()) {
        sset("MainWindowState", view_->CurrentWindowState());
        view_->ShowMailerFirst();
    }
}

void frmMain::runFirstRun() {
    // The wizard writes Corva.ini itself; a headless start only says what is missing.
    view_->RunAccountWizard();
}

void frmMain::applyWindowGeometry() {
    if (sget("MainWindowState", 0).toNumber() == WindowState::Maximised) {
        LogAction("Maximising main screen");
        view_->MaximiseWindow();
        return;
    }
    LogAction("Restoring main screen");
    // Until a size is stored the window keeps the first size it chose, which
    // shows all nine columns; 7668 twips, about 510 pixels, shows four.
    int at = 0;
    if (Settings().SettingPresent("MainWidth", at) <= 0 &&
        Settings().SettingPresent("MainHeight", at) <= 0)
        return;
    int width = sget("MainWidth", 7668).toInt();
    int height = sget("MainHeight", 7300).toInt();
    int screenWidth = view_->ScreenWidth();
    int screenHeight = view_->ScreenHeight();
    if (screenWidth <= 0 || screenHeight <= 0) return;
    if (width > 0.95 * screenWidth && height > 0.95 * screenHeight)
        view_->MaximiseWindow();
    else
        view_->SetWindowSize(width, height);
}

bool frmMain::exitprog() {
    if (shutDown_) return true;
    bool quit = true;
    reported("exitprog", Module, [&] {
        stopping_ = true;
        LogAction("Beginning shutdown");
        if (Sending_) {
            LogAction("Still sending mail, stopping transfer.");
            if (fSendMail_) fSendMail_->CancelSend();
            Sending_ = false;
            WaitSeconds(3);
            DoEvents();
        }
        if (Checking()) {
            LogAction("Still checking for mail. Stopping transfer.");
            if (fGetMail_) fGetMail_->CancelMail();
            state_ = CycleState::Idle;
            // The cancelled socket's last events arrive before the objects go.
            WaitSeconds(3);
            DoEvents();
        }
        if (outboxHoldsMail()) {
            if (options_.headless) {
                addnoticetolist("You still have mail in your outbox.");
            } else if (platform::current().prompts().messageBox(
                           gettranslation("You still have mail in your outbox. Are you sure you "
                                          "want to quit?"),
                           platform::Buttons::YesNo,
                           platform::Icon::Question) != platform::Answer::Yes) {
                stopping_ = false;
                quit = false;
                return;
            }
        }
        // A command has no window, and must not overwrite the window's sizes.
        if (!options_.headless) {
            LogAction("Saving window size");
            sset("MainWidth", view_->WindowWidth());
            sset("MainHeight", view_->WindowHeight());
            LogAction("Saving window state");
            sset("MainWindowState", view_->CurrentWindowState());
        }
        LogAction("Removing Tray Icon");
        view_->RemoveTrayIcon();
        trayShown_ = false;
        flushUnreadTags();
        LogAction("Saving settings");
        savesettings();
        LogAction("Saving contacts");
        Contacts().SaveContacts();
        shutDownReminders();
        LogAction("Unloading contacts");
        if (view_->MailerLoaded()) {
            LogAction("Hiding mailer");
            view_->HideMailer();
            DoEvents();
            LogAction("Unloading mailer");
            view_->UnloadMailer();
        }
        LogAction("Hiding main form");
        view_->HideWindow();
        DoEvents();
        LogAction("Unloading forms");
        unloadForms();
        TimerAutoScan_->setEnabled(false);
        TimerIconFlash_->setEnabled(false);
        if (fGetMail_) fGetMail_->setRuleChecks(nullptr, nullptr);
        if (fMailer_) fMailer_->setLocalFilters(nullptr);
        localFilters_.reset();
        serverFilters_.reset();
        if (fSendMail_) {
            fSendMail_->setListener(nullptr);
            fSendMail_.reset();
        }
        LogAction("Writing log");
        ListLastActions();
        LogAction("Finished Shutdown of " + AppTitle());
        LogAction("Unloading main form");
        if (fGetMail_) fGetMail_->setListener(nullptr);
        fGetMail_.reset();
        shutDown_ = true;
    });
    if (quit && !shutDown_) shutDown_ = true; // a failed step still ends the program
    return quit;
}

void frmMain::unloadForms() {
    const std::vector<std::string> forms = view_->OpenForms();
    // From the last down to the second; the first is this window, which goes last of all.
    for (size_t i = forms.size(); i-- > 1;) {
        LogAction("Unloading " + forms[i]);
        if (!view_->UnloadForm(i)) {
            // A window inside a modal loop of its own can't go now; the rest
            // stay too, and shutdown goes on without them.
            LogAction("Error 365 - unable to unload within this context - when exiting form. "
                      "Resuming.");
            return;
        }
    }
}

bool frmMain::QueryUnload(bool fromCloseBox) {
    if (!fromCloseBox) return false;
    // Without a notification area a hidden window could never be shown again:
    // closing it quits, unless the user chooses to stay.
    if (!view_->TrayAvailable()) return !exitprog();
    // Closing the window is not quitting while the tray icon stays.
    sset("MainWindowState", view_->CurrentWindowState());
    view_->HideWindow();
    DoEvents();
    return true;
}

bool frmMain::outboxHoldsMail() const {
    std::vector<std::string> files;
    FillFiles(MessageFolder + OutboxFolder, "eml", files);
    for (const auto& f : files)
        if (EndsWith(LCase(f), ".eml")) return true;
    return false;
}

// ---------------------------------------------------------------------------
// The cycle

bool frmMain::checkmail(const CycleRequest& request) {
    // Asked for even when refused: the running cycle uploads when it ends.
    if (request.uploadAfter) SendAfterCheck_ = true;
    if (state_ != CycleState::Idle || stopping_ || !fGetMail_) return false;
    const int first = request.accounts.first();
    if (!Account::isNumber(first)) {
        HandleError(RunError(Err::SubscriptOutOfRange), "checkmail", Module);
        return false;
    }
    if (request.specific != 0) {
        // Busy while an upload runs too: the fetched message would wait behind it.
        if (Sending_) return false;
        request_ = request;
        account_ = first;
        stopRequested_ = false;
        state_ = CycleState::Account;
        fGetMail_->GetSpecificMessage(first, request.specific);
        return true;
    }
    guarded("checkmail", Module, [&] {
        view_->SetToolbarButtonImage("upanddown", "stop");
        request_ = request;
        NewMailArrived_ = false;
        state_ = CycleState::Account;
        account_ = first;
        stopRequested_ = false;
        stopmailtimer();
        starticontimer();
        ServerMessages_.Clear();
        MessagesSeen_ = 0;
        MessagesKept_ = 0;
        freshListed_ = 0;
        savedAtCycleStart_ = MessagesSaved_;
        setuplistview();
        checknextaccount();
    });
    return true;
}

int frmMain::CurrentAccount() const {
    return state_ == CycleState::Account && !stopRequested_ ? account_ : -1;
}

void frmMain::checknextaccount() {
    guarded("checknextaccount", Module, [&] {
        Account account(account_);
        if (account.server().empty()) {
            donextaccount();
            return;
        }
        accountCount_[account_] = 0;
        showmailerstatus("Connecting to server");
        // Asked for by name, the account is visited even when it isn't included.
        const bool force = !request_.accounts.isAll();
        if (request_.retrieve)
            fGetMail_->GetMessages(account_, request_.deleteBlocked, force);
        else
            fGetMail_->GetHeaders(account_, request_.deleteBlocked, force);
    });
}

void frmMain::donextaccount() {
    if (state_ != CycleState::Account) return; // a repeated end event
    guarded("donextaccount", Module, [&] {
        flushUnreadTags();
        const bool oneAccount = !request_.accounts.isAll() && account_ < Account::Last;
        if (stopRequested_ || request_.specific != 0 || oneAccount) {
            endcycle(false);
            return;
        }
        saveglobalspamcount();
        if (++account_ < Account::Count) {
            checknextaccount();
            return;
        }
        endcycle(true);
    });
    // A step that failed still leaves the cycle where a new one can start.
    if (state_ == CycleState::Ending) state_ = CycleState::Idle;
}

void frmMain::endcycle(bool complete) {
    state_ = CycleState::Ending;
    const bool counted = request_.specific == 0;
    stopicontimer();
    if (counted) notifyNewMail();
    // The long way starts the timer further on, and not at all while no
    // account is set up: there is nothing to scan yet.
    if (!complete) startmailtimer();
    if (counted) ++cyclesFinished_;
    state_ = CycleState::Idle;
    if (!complete) {
        notifyfinishedgettingmail("Finished getting mail");
        return;
    }
    if (!anyReplyAddress()) {
        if (platform::current().prompts().messageBox(
                gettranslation("You need to set up your email account(s). Would you like to open "
                               "the settings screen?"),
                platform::Buttons::YesNo, platform::Icon::Question) == platform::Answer::Yes)
            showsettings();
        return;
    }
    const std::string chime = AppPath() + "ClockChime.wav";
    platform::Sound& sound = platform::current().sound();
    if (NewMailArrived_ && AudioOn_ && sound.canPlay(chime)) sound.play(chime);
    startmailtimer();
    notifyfinishedgettingmail("Process complete");
}

void frmMain::notifyNewMail() {
    guarded("notifyNewMail", Module, [&] {
        const long stored = MessagesSaved_ - savedAtCycleStart_;
        if ((stored <= 0 && freshListed_ <= 0) || !sget("NotifyNewMail", true).toBool()) return;
        std::string text;
        if (stored > 0) text = Str(stored) + " new message(s) downloaded";
        if (freshListed_ > 0) {
            if (!text.empty()) text += "\n";
            text += Str(freshListed_) + " new message(s) on the server";
        }
        view_->NotifyNewMail(AppTitle() + " - New mail", text);
    });
}

std::string frmMain::listedKey(const clsMessage& msg) {
    // The same message lies on the server scan after scan; only one not listed
    // before is news. Without a Message-ID, what the line shows stands for it.
    std::string key = Str(msg.FromAccount) + '\x1f';
    if (!msg.MessageID.empty()) return key + msg.MessageID;
    return key + msg.From + '\x1f' + msg.Subject + '\x1f' + msg.SendDate + '\x1f' +
           Str(static_cast<long long>(msg.Size));
}

void frmMain::cancelcheck() {
    if (Checking() && fGetMail_) fGetMail_->CancelMail();
    view_->SetToolbarButtonImage("upanddown", "sendreceive");
}

void frmMain::notifyfinishedgettingmail(const std::string& text) {
    if (view_->MailerLoaded()) view_->MailerFinishedGettingMail(text);
    if (SendAfterCheck_) {
        SendAfterCheck_ = false;
        UploadMail();
    }
}

void frmMain::showmailerstatus(const std::string& text) {
    if (view_->MailerLoaded()) view_->MailerStatus(text);
}

void frmMain::OpenComposer(const std::string& to, const std::string& cc, const std::string& bcc,
                           const std::string& subject, const std::string& body) {
    guarded("OpenComposer", Module, [&] { view_->ShowComposer(to, cc, bcc, subject, body); });
}

bool frmMain::OpenMessageFile(const std::string& path) {
    return guardedValue("OpenMessageFile", Module, false, [&] {
        if (!FileExists(path)) {
            platform::current().prompts().messageBox(path + gettranslation(" could not be opened"),
                                                     platform::Buttons::Ok,
                                                     platform::Icon::Exclamation);
            return false;
        }
        view_->ShowReader(path);
        return true;
    });
}

void frmMain::UploadMail() {
    if (!fSendMail_ || stopping_) return;
    Sending_ = true;
    fSendMail_->UploadSpooledMail();
}

void frmMain::Failed(const std::string& text) {
    addnoticetolist(withoutLineEnds(text), text);
}

void frmMain::NoMailToSend() {
    Sending_ = false;
}

void frmMain::SendingFinished() {
    Sending_ = false;
}

void frmMain::ReloadRules() {
    guarded("ReloadRules", Module, [&] {
        if (serverFilters_) serverFilters_->ReloadFilters(false);
        if (localFilters_) localFilters_->ReloadFilters(true);
    });
}

void frmMain::showsettings() {
    if (Checking()) return;
    stopmailtimer();
    if (view_->ShowSettingsDialog()) {
        view_->SetupToolbar();
        readsettings();
        // The dialog may have moved the filter folder or changed the size limit.
        ReloadRules();
        // Compared with 1: a ticked box saved as a truth value doesn't start a
        // scan here, only the timer.
        if (optionIsOne("ScanOnStart"))
            checkmail({});
        else
            startmailtimer();
    } else {
        startmailtimer();
    }
}

void frmMain::readsettings() {
    guarded("readsettings", Module, [&] {
        NextCycleDeletes_ = sget("AUTODELETE", 0).toNumber() == 1;
        AudioOn_ = sget("AUDIO", 0).toNumber() == 1;
        view_->SetSilentChecked(!AudioOn_);
        view_->SetReadOnServerEnabled(!sget("DisableReadOnServer", false).toBool());
        view_->SetupToolbar();
        view_->SetListFontSize(sget("FontSize", 8).toInt());
    });
}

// ---------------------------------------------------------------------------
// The callers of checkmail: each names a request.

namespace {

CycleRequest scanAll(bool deleteBlocked) {
    CycleRequest r;
    r.deleteBlocked = deleteBlocked;
    return r;
}

CycleRequest retrieveAll(bool deleteBlocked, bool uploadAfter = false) {
    CycleRequest r = scanAll(deleteBlocked);
    r.retrieve = true;
    r.uploadAfter = uploadAfter;
    return r;
}

CycleRequest scanOne(int account, bool deleteBlocked, bool retrieve = false,
                     bool uploadAfter = false) {
    CycleRequest r;
    r.accounts = AccountSet::one(account);
    r.deleteBlocked = deleteBlocked;
    r.retrieve = retrieve;
    r.uploadAfter = uploadAfter;
    return r;
}

} // namespace

void frmMain::mnuScan_Click() {
    checkmail(scanAll(NextCycleDeletes_));
}
void frmMain::mnuScanAcc_Click(int account) {
    checkmail(scanOne(account, false));
}

void frmMain::KeyDown(Key key, bool ctrl) {
    if (Checking()) return;
    switch (key) {
    case Key::F5:
        checkmail(scanAll(ctrl));
        break;
    case Key::F2:
        checkmail(retrieveAll(ctrl));
        break;
    case Key::F3:
        UploadMail();
        break;
    }
}

void frmMain::scananddisplayspecific(int account) {
    checkmail(scanOne(account, false));
}
void frmMain::scananddeletespecific(int account) {
    checkmail(scanOne(account, true));
}
void frmMain::retrievemailspecific(int account) {
    checkmail(scanOne(account, false, true));
}
void frmMain::downloadmail(bool deleteBlocked) {
    checkmail(retrieveAll(deleteBlocked));
}
void frmMain::DownloadFromAccount(bool deleteBlocked, int account) {
    checkmail(scanOne(account, deleteBlocked, true));
}
void frmMain::fMailer_Scan() {
    checkmail(scanAll(false));
}
void frmMain::fMailer_ScanSpecific(int account) {
    checkmail(scanOne(account, false));
}
void frmMain::fMailer_ScanDel() {
    checkmail(scanAll(true));
}
void frmMain::fMailer_ScanDelSpecific(int account) {
    checkmail(scanOne(account, true));
}
void frmMain::fMailer_DownloadMail() {
    checkmail(retrieveAll(false, true));
}
void frmMain::fMailer_DownloadMailNoUpload() {
    SendAfterCheck_ = false;
    checkmail(retrieveAll(false));
}
void frmMain::fMailer_DLWithClear() {
    checkmail(retrieveAll(true));
}
void frmMain::fMailer_DLFrom(int account) {
    checkmail(scanOne(account, false, true));
}
void frmMain::fMailer_UpDownWithClear() {
    checkmail(retrieveAll(true, true));
}
void frmMain::fMailer_UpDownWithClearFrom(int account) {
    checkmail(scanOne(account, true, true, true));
}
void frmMain::fMailer_SendRcvDel() {
    checkmail(retrieveAll(true, true));
}
void frmMain::fMailer_SendRcvDelSpecific(int account) {
    // Scans only, as it always has, though it sends and receives by name.
    checkmail(scanOne(account, true, false, true));
}

// ---------------------------------------------------------------------------
// frmGetMail's events

void frmMain::HeaderReceived(clsMessage& msg) {
    guarded("fGetMail_HeaderReceived", Module, [&] {
        if (msg.Deleted && DeleteMode()) {
            countAndShow(msg, 0);
            return;
        }
        ServerMessages_.Add(msg);
        showKeptRow(msg);
    });
}

void frmMain::MessageReceived(clsMessage& msg) {
    guarded("fGetMail_MessageReceived", Module, [&] {
        if (!saveRetrievedMessage(msg)) {
            // Left alone, the session keeps it on the server even when it deletes
            // what it retrieves: a message that isn't on disk must not be lost.
            msg.Ignored = true;
            msg.setFilename("");
            addnoticetolist("Could not save \"" + msg.Subject + "\"; it stays on the server.");
            return;
        }
        // Stored, not listed: a retrieved message is no line of the scanner's
        // list, counts as neither seen nor kept, and makes no new mail by
        // being listed. The store's tags and the tray say what arrived.
    });
}

// The list line may hide an ignored message's subject; the row keeps what the
// line shows, the session's message stays as it was.
void frmMain::showKeptRow(clsMessage& msg) {
    const std::string subject = msg.Subject;
    countAndShow(msg, ServerMessages_.Count());
    ServerMessages_.Update(ServerMessages_.Count(), msg);
    msg.Subject = subject;
}

void frmMain::SpecificMessage(clsMessage& msg) {
    guarded("fGetMail_SpecificMessage", Module, [&] { view_->SpecificMessageArrived(msg); });
    // The fetch is done once its message is here: the QUIT after it changes nothing,
    // and the next fetch need not wait for it.
    if (request_.specific != 0) donextaccount();
}

void frmMain::Progress(const std::string& text) {
    view_->SetStatusPanel(1, text);
    showmailerstatus(text);
}

void frmMain::POPError(const std::string& serverText) {
    std::string text = withoutLineEnds(serverText);
    view_->SetStatusPanel(1, text);
    view_->SetStatusPicture(PanelPicture::Error);
    addnoticetolist(text, serverText);
}

void frmMain::DoingServer(const std::string& title) {
    addservertolist(title);
}

void frmMain::TimedOut(int seconds) {
    addnoticetolist("Timed out after " + Str(seconds) + " seconds.");
    donextaccount();
}

void frmMain::Finished() {
    view_->SetStatusPanel(1, "");
    view_->SetStatusPicture(PanelPicture::None);
    donextaccount();
}

void frmMain::Cancelled() {
    addnoticetolist("Communications cancelled");
    stopRequested_ = true;
    donextaccount();
}

void frmMain::NoMailServer() {
    donextaccount();
}

void frmMain::DeletedSpam(int count) {
    TotalDeleted_ += count;
    DeletedThisRun_ += count;
}

void frmMain::DeletionsUnconfirmed(const std::string& text, int counted) {
    TotalDeleted_ -= counted;
    DeletedThisRun_ -= counted;
    view_->SetStatusPanel(1, text);
    view_->SetStatusPicture(PanelPicture::Error);
    addnoticetolist(text);
}

void frmMain::NoMail(const std::string& title) {
    addnoticetolist("No messages on " + title);
}

void frmMain::NoConnection() {
    if (state_ == CycleState::Account) stopRequested_ = true;
    stopicontimer();
    startmailtimer();
    view_->SetStatusPanel(1, "No Internet Connection");
    view_->SetStatusPicture(PanelPicture::Error);
    DoEvents();
}

// ---------------------------------------------------------------------------
// The list

void frmMain::countAndShow(clsMessage& msg, long item) {
    add16(MessagesSeen_, 1, "fGetMail_HeaderReceived");
    int account = msg.FromAccount;
    if (Account::isNumber(account)) add16(accountCount_[account], 1, "fGetMail_HeaderReceived");
    if (!msg.Deleted && !msg.Ignored) add16(MessagesKept_, 1, "fGetMail_HeaderReceived");
    if (suppressmessage(msg)) return;
    if (msg.Deleted && DeleteMode()) return;
    AddMessageToList(msg, item);
}

std::string frmMain::verdictWord(const clsMessage& msg) {
    if (msg.Deleted) return msg.BlockedSender || msg.BlockedRecip ? "BLOCK" : "FAIL";
    if (msg.Ignored) return "IGNORE";
    if (msg.Suspicious) return "SPAM?";
    return "PASS";
}

void frmMain::AddMessageToList(clsMessage& msg, long item) {
    ListLine line;
    line.kind = ListLine::Kind::Message;
    line.Status = verdictWord(msg);
    if (msg.Ignored && !msg.Deleted) msg.Subject = "N/A";
    if (line.Status == "SPAM?" || line.Status == "PASS") {
        NewMailArrived_ = true;
        if (listedBefore_.insert(listedKey(msg)).second) ++freshListed_;
    }
    line.Size = Str(static_cast<long long>(std::nearbyint(msg.Size))) + "kb";
    line.From = msg.From;
    line.Subject = msg.Subject;
    line.FromCharset = headerCharset(msg.Headers, "From");
    if (line.Subject != "N/A") line.SubjectCharset = headerCharset(msg.Headers, "Subject");
    line.FilteredBy = msg.FilterReason;
    line.To = msg.To_Email;
    line.Accnt = Str(msg.FromAccount);
    int account = msg.FromAccount;
    line.Msg = Str(Account::isNumber(account) ? accountCount_[account] : 0);
    line.MsgNum = Str(MessagesSeen_);
    line.Colour = msg.Colour;
    line.Item = item;
    view_->AddListLine(line);
    if (view_->MailerVisible()) view_->MailerAddListLine(line);
}

void frmMain::addservertolist(const std::string& title) {
    ListLine line;
    line.kind = ListLine::Kind::Server;
    line.Status = title;
    view_->AddListLine(line);
}

void frmMain::addnoticetolist(const std::string& text, const std::string& lines) {
    ListLine line;
    line.kind = ListLine::Kind::Notice;
    line.Status = text;
    line.Lines = lines;
    view_->AddListLine(line);
    if (view_->MailerVisible()) view_->MailerAddListLine(line);
}

void frmMain::setuplistview() {
    view_->ClearList();
    view_->SetupListColumns(ListColumnCaptions());
}

bool frmMain::suppressmessage(const clsMessage& msg) const {
    return serverFilters_ ? serverFilters_->suppressmessage(msg) : false;
}

void frmMain::rescanCachedmail() {
    guarded("rescanCachedmail", Module, [&] {
        if (ServerMessages_.Count() == 0 || !serverFilters_) return;
        setuplistview();
        addservertolist("Rescan");
        // The counts start again so that each line's number is its position.
        MessagesSeen_ = 0;
        MessagesKept_ = 0;
        accountCount_.fill(0);
        for (long i = 1; i <= ServerMessages_.Count(); ++i) {
            ServerRows::Ptr item = ServerMessages_.Peek(i);
            if (!item) continue;
            serverFilters_->CheckMessage(*item, true);
            countAndShow(*item, i);
            ServerMessages_.Update(i, *item);
        }
        showlarges();
    });
}

int16_t frmMain::AccountMessages(int account) const {
    return Account::isNumber(account) ? accountCount_[account] : 0;
}

// ---------------------------------------------------------------------------
// Saving a retrieved message

std::string frmMain::destinationFolder(const clsMessage& msg) {
    return RetrieveStore::destinationPath(MessageFolder, msg.DestFolder);
}

std::string frmMain::fileBaseFromSubject(const std::string& subject) {
    return subject.size() > 50 ? subject.substr(0, 35) : subject;
}

bool frmMain::saveRetrievedMessage(clsMessage& msg) {
    std::string destination = retrieveStore_.folder(MessageFolder, msg.DestFolder);
    if (destination.empty() && !messageFolderFellBack_) {
        platform::current().prompts().messageBox(
            gettranslation("Cannot find mail folder: ") + MessageFolder +
            gettranslation(". Mail will be saved to ") + AppPath() + gettranslation(" instead."));
        // For the rest of the run; the settings keep the user's folder.
        messageFolderFellBack_ = true;
        MessageFolder = AppPath() + "Messages/";
        FoldersIniPath = MessageFolder + "folders.ini";
        FolderListIniPath = MessageFolder + "folderlist.ini";
        MkMissingDir(MessageFolder);
        destination = retrieveStore_.folder(MessageFolder, msg.DestFolder);
    }
    if (destination.empty()) return false;

    std::string path =
        retrieveStore_.unusedPath(destination, msg.Read, fileBaseFromSubject(msg.Subject));
    if (path.empty()) return false;
    msg.setFilename(path);
    // Written whole or not at all: a half-written .eml would pass for a message.
    // The bytes reach the disk before the name only when the server's copy is
    // about to be deleted; otherwise the server still holds the message, and
    // waiting for the disk would cost more than the download itself.
    const bool deleting = !msg.Ignored && sget("DELETEONRETRIEVE", 0).toNumber() == 1;
    if (!retrieveStore_.write(path, msg.RawMessage(), deleting)) return false;
    LogAction(path + " saved");
    ++MessagesSaved_;
    TicketFromRetrievedMail(msg, *fSendMail_);
    view_->MessageStored(path, msg);

    if (view_->MailerLoaded()) {
        bool inOpenFolder = fMailer_->Caches().AddNewMessage(path, destination, msg);
        view_->MailerNewMessageStored(path, destination, msg, inOpenFolder);
    } else {
        ++pendingUnread_[destination];
        // The text form sorts as the time does, so the greatest is the newest.
        std::string& newest = pendingNewest_[destination];
        if (msg.ReceiveDate > newest) newest = msg.ReceiveDate;
    }
    return true;
}

void frmMain::flushUnreadTags() {
    // The cycle's storing ends here; the next one looks at the folders afresh.
    retrieveStore_.reset();
    for (const auto& [folder, count] : pendingUnread_) addtounreadtag(folder, count);
    pendingUnread_.clear();
    for (const auto& [folder, date] : pendingNewest_) {
        clsMessage newest;
        newest.Read = false;
        newest.ReceiveDate = date;
        AddToLastMessageTag(folder, newest);
    }
    pendingNewest_.clear();
}

// ---------------------------------------------------------------------------
// The lifetime count

void frmMain::globalspamcount() {
    TotalDeleted_ = sget("SpamCount", 0).toNumber();
}

void frmMain::saveglobalspamcount() {
    sset("SpamCount", numberText(TotalDeleted_));
}

// ---------------------------------------------------------------------------
// Automatic scanning

bool frmMain::scanOnStartSet() const {
    switch (options_.autoScan) {
    case AutoScan::Off:
        return false;
    case AutoScan::On:
        return true;
    case AutoScan::Settings:
        break;
    }
    return sget("ScanOnStart", false).toBool();
}

bool frmMain::autoScanTimerEnabled() const {
    return TimerAutoScan_->enabled();
}

void frmMain::setmailtimerinterval() {
    TimerAutoScan_->setInterval(1000);
    ScanDelay_ = guardedValue("setmailtimerinterval", Module, int16_t{0}, [&] {
        if (options_.delaySeconds) return *options_.delaySeconds;
        return sget("DELAY", 0).toInt16();
    });
    displaytimeleft();
}

void frmMain::startmailtimer() {
    // ScanOnStart is the master switch of automatic scanning, not only of the first scan.
    if (scanOnStartSet() && !stopping_) {
        SecondsElapsed_ = 0;
        setmailtimerinterval();
        TimerAutoScan_->setEnabled(true);
    }
    view_->SetToolbarButtonImage("upanddown", "sendreceive");
}

void frmMain::stopmailtimer() {
    TimerAutoScan_->setEnabled(false);
    ScanDelay_ = 0;
    SecondsElapsed_ = 0;
    view_->SetStatusPanel(4, "Timer stopped");
}

void frmMain::TimerAutoScan_Timer() {
    guarded("TimerAutoScan_Timer", Module, [&] {
        if (ScanDelay_ == 0) return;
        displaytimeleft();
        add16(SecondsElapsed_, 1, "TimerAutoScan_Timer");
        if (SecondsElapsed_ > ScanDelay_) {
            stopmailtimer();
            CycleRequest request;
            request.deleteBlocked = NextCycleDeletes_;
            request.retrieve = NextCycleRetrieves_;
            checkmail(request);
            NextCycleRetrieves_ = false;
        }
    });
}

void frmMain::displaytimeleft() {
    if (ScanDelay_ == 0)
        view_->SetStatusPanel(4, "Auto scan Disabled");
    else if (ScanDelay_ - SecondsElapsed_ == 0)
        view_->SetStatusPanel(4, "Scanning");
    else
        view_->SetStatusPanel(4, "Next scan: " + Str(ScanDelay_ - SecondsElapsed_));
    view_->SetStatusPanel(2, "Total deleted: " + numberText(TotalDeleted_));
    DoEvents();
}

// ---------------------------------------------------------------------------
// The tray

std::string frmMain::firstAccountTitle(bool& found) const {
    int first = Account::firstWithReplyAddress();
    found = first >= 0;
    return found ? Account(first).title() : "";
}

bool frmMain::anyReplyAddress() const {
    bool found = false;
    firstAccountTitle(found);
    return found;
}

void frmMain::showProgramInTray() {
    bool found = false;
    std::string title = firstAccountTitle(found);
    std::string tip = found ? AppTitle() + " - " + title : AppTitle() + " by " + MakerName();
    view_->ShowTrayIcon(tip, trayPicture_);
    trayShown_ = true;
}

void frmMain::starticontimer() {
    TimerIconFlash_->setInterval(500);
    TimerIconFlash_->setEnabled(true);
    showingLarge_ = false;
    trayPicture_ = TrayPicture::SmallS;
    if (trayShown_) view_->ChangeTrayIcon("", trayPicture_);
}

void frmMain::swaptrayicon() {
    if (!trayShown_) return;
    if (showingLarge_) {
        showingLarge_ = false;
        trayPicture_ = TrayPicture::SmallS;
        view_->ChangeTrayIcon("", trayPicture_);
    } else {
        showlarges();
    }
}

void frmMain::stopicontimer() {
    // The mailer hears "Done" here; the upload after a check waits for the
    // cycle's own notice, so that it never fires on the settings question path.
    showmailerstatus("Done");
    if (view_->MailerLoaded()) view_->MailerFinishedGettingMail("Done");
    TimerIconFlash_->setEnabled(false);
    showlarges();
}

void frmMain::showlarges() {
    TrayPicture picture = TrayPicture::LargeS;
    if (NewMailArrived_) {
        if (MessagesKept_ >= 11)
            picture = TrayPicture::LotsOfMail;
        else if (MessagesKept_ >= 1)
            picture = TrayPicture::GotMail;
    }
    showingLarge_ = true;
    LocalChangetrayicon(picture);
}

void frmMain::LocalChangetrayicon(TrayPicture picture) {
    trayPicture_ = picture;
    bool found = false;
    std::string title = firstAccountTitle(found);
    std::string count = Str(MessagesKept_) + " message(s)";
    std::string tip =
        found ? AppTitle() + " - " + title + " - " + count : AppTitle() + " - " + count;
    if (trayShown_) view_->ChangeTrayIcon(tip, picture);
}

} // namespace corva
