// The POP3 dialogue as one state machine on the socket's data events. Each
// data event is one reply, or one more piece of a multi-line reply: there is
// no line assembly underneath, and the decisions below rely on that. On a
// secure connection every wait for a reply costs the server's TLS hop, so
// commands whose turn is certain go out ahead of the replies before them: a
// scan's reply that ends inside a data event hands what follows on as the next
// event, and a retrieve matches each reply to its command from a ReplyQueue.
#include "pop3/frmGetMail.h"

#include "core/Account.h"
#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/ErrorReport.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/Variant.h"
#include "core/mSHAREDDelay.h"
#include "core/mSHAREDLogging.h"
#include "core/mSHAREDSettings.h"
#include "localise/modLanguages.h"
#include "message/MessageCheck.h"
#include "message/clsMessage.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <set>

namespace corva {

namespace {

constexpr const char* Module = "frmGetMail";
constexpr const char* Terminator = "\n.\r\n";
constexpr size_t TerminatorSize = 4;
// TOP commands a secure scan keeps on their way.
constexpr int32_t AheadWindow = 16;

frmGetMailEvents& silentEvents() {
    static frmGetMailEvents none;
    return none;
}

// File numbers of the temporary files open in this process, so that two
// sessions never write to the same mail_<n>.tmp.
std::set<int>& openFileNumbers() {
    static std::set<int> numbers;
    return numbers;
}

int freeFileNumber() {
    int h = 1;
    while (openFileNumbers().count(h)) ++h;
    return h;
}

// Two decimal places, ties to the even neighbour.
double round2(double x) {
    return std::nearbyint(x * 100.0) / 100.0;
}

int16_t add16(int16_t value, int by) {
    int sum = value + by;
    if (sum > 32767 || sum < -32768) throw RunError(Err::Overflow);
    return static_cast<int16_t>(sum);
}

int16_t toInt16(const std::string& text) {
    Variant v(text);
    if (!v.isNumeric()) throw RunError(Err::TypeMismatch);
    return v.toInt16();
}

} // namespace

// ---------------------------------------------------------------------------
// Set-up

frmGetMail::frmGetMail()
    : events_(&silentEvents()), socket_(platform::current().createSocket()),
      Timer1_(platform::current().createTimer()) {
    socket_->setListener(this);
    Timer1_->setCallback([this] { guarded("Timer1_Timer", Module, [this] { Timer1_Timer(); }); });
    for (int i = 0; i < AccountCount; ++i) {
        active_[i] = true;
        stopAtLast_[i] = true;
        title_[i] = Account::defaultTitle(i);
    }
}

frmGetMail::~frmGetMail() {
    // Nothing may leave a destructor: a temporary file that can't be closed
    // cleanly is recorded like any other failure.
    guarded("Class_Terminate", Module, [this] {
        Timer1_->setEnabled(false);
        socket_->setListener(nullptr);
        socket_->close();
        // Half a message is of no use to anyone.
        closeTempFile(true);
        if (SessionOpen_) ledger_.save();
    });
}

void frmGetMail::setListener(frmGetMailEvents* listener) {
    events_ = listener ? listener : &silentEvents();
}

void frmGetMail::setRuleChecks(MessageCheck* serverRules, MessageCheck* localRules) {
    serverRules_ = serverRules;
    localRules_ = localRules;
}

std::pair<std::string, int> frmGetMail::serverAddress(const std::string& setting) {
    return Account::hostAndPort(setting, DefaultPort);
}

std::string frmGetMail::tempFilePath(int handle) {
    return MessageFolder + "mail_" + Str(handle) + ".tmp";
}

const std::string& frmGetMail::title() const {
    return title_[account_];
}

// ---------------------------------------------------------------------------
// Public operations

void frmGetMail::CancelMail() {
    guarded("CancelMail", Module, [this] {
        events_->Progress("Mail retrieval cancelled");
        events_->Cancelled();
        cleanupandexit();
    });
}

void frmGetMail::GetSpecificMessage(int account, long number) {
    auto& prompts = platform::current().prompts();
    prompts.setCursor(platform::Cursor::Busy);
    guarded("GetSpecificMessage", Module, [&] {
        if (account < 0 || account >= AccountCount) throw RunError(Err::SubscriptOutOfRange);
        mode_ = GetSpecificMode;
        SpecificNumber_ = Variant(static_cast<double>(number)).toInt16();
        account_ = static_cast<int16_t>(account);
        state_ = StNew;
        connectToServer(account);
        caption_ = "Retrieving message " + Str(number);
    });
    prompts.setCursor(platform::Cursor::Normal);
}

void frmGetMail::GetHeaders(int account, bool deleteBlocked, bool force) {
    mode_ = GetHeadersMode;
    Begintransfer(account, deleteBlocked, force);
}

void frmGetMail::GetMessages(int account, bool deleteBlocked, bool force) {
    mode_ = GetMessagesMode;
    Begintransfer(account, deleteBlocked, force);
}

void frmGetMail::Begintransfer(int account, bool deleteBlocked, bool force) {
    try {
        if (account < 0 || account >= AccountCount) throw RunError(Err::SubscriptOutOfRange);
        readAccounts();
        SecondsWaited_ = 0;
        // An account without a server can't be active: say so in the settings.
        if (server_[account].empty() && active_[account])
            sset(Account(account).key("CHECK"), false);
        if (server_[account].empty() || (!active_[account] && !force)) {
            events_->NoMailServer();
            return;
        }
        if (password_[account].empty()) askPassword(account);

        DoEvents();
        MessagesHandled_ = 0;
        DeleteBlocked_ = deleteBlocked;
        account_ = static_cast<int16_t>(account);
        caption_ = "Reading mail";
        ListLines_.clear();

        events_->DoingServer(title_[account]);
        events_->Progress("Checking mail on " + title_[account]);

        state_ = StNew;
        ConnectTimeout_ = sget("MailTimeout", 30).toInt16();
        connectToServer(account);
    } catch (const std::exception& e) {
        HandleError(e, "Begintransfer", Module);
        RecordAction("Error while checking mail", "Begintransfer", Module);
        showerr("Error while checking mail: Error " + std::to_string(errorNumber(e)) + " - " +
                errorText(e) + " in Begintransfer of " + Module);
    } catch (...) {
        HandleUnknownError("Begintransfer", Module);
        showerr("Error while checking mail");
    }
}

void frmGetMail::readAccounts() {
    for (int i = 0; i < AccountCount; ++i) {
        const Account account(i);
        password_[i] = account.password();
        userName_[i] = account.userName();
        server_[i] = account.server();
        active_[i] = account.checked();
        stopAtLast_[i] = account.stopAtLast();
        title_[i] = account.title();
        security_[i] = account.popSecurity();
    }
}

void frmGetMail::askPassword(int account) {
    platform::PasswordReply reply = platform::current().prompts().askPassword(
        gettranslation("Enter password for '") + userName_[account] +
        gettranslation("' on account '") + title_[account] + "'");
    // A cancelled prompt goes on with the empty password: the server refuses it
    // and the user sees why.
    if (reply.cancelled) return;
    password_[account] = reply.text;
    if (reply.remember) {
        sset(Account(account).key("PWD"), reply.text);
        savesettings();
    }
}

void frmGetMail::connectToServer(int account) {
    // Nothing of a transfer that ended half way (time-out, lost network) may
    // leak into this one: a stale tail would shift the LIST lines, and a stale
    // temporary file would be continued by the next message.
    ReplyBuffer_.clear();
    forgetAhead();
    if (TempFileHandle_ != 0 || tempFile_) closeTempFile(true);
    // A session abandoned without its end still keeps what it stored.
    endSession();
    if (mode_ == GetMessagesMode)
        ledger_.open(RetrieveLedger::pathFor(account), userName_[account], server_[account]);
    DelesSent_ = 0;
    DelesCounted_ = 0;
    QuitConfirmed_ = false;
    RepliesBeforeQuit_ = 0;
    QuitText_.clear();
    SessionOpen_ = true;
    socket_->close();
    socket_->setLocalPort(0);
    SecondsWaited_ = 0;
    startTimer1();
    const Account settings(account);
    auto [host, port] =
        Account::hostAndPort(server_[account], Account::usualPopPort(security_[account]));
    const std::string trusted = settings.trustedCertificate("POP");
    socket_->setTrustedFingerprints(trusted.empty() ? std::vector<std::string>{}
                                                    : std::vector<std::string>{trusted});
    if (security_[account] == Account::Implicit)
        socket_->connectSecure(host, port, host);
    else
        socket_->connect(host, port);
}

void frmGetMail::startTimer1() {
    Timer1_->setInterval(1000);
    Timer1_->setEnabled(true);
}

void frmGetMail::cleanupandexit() {
    Timer1_->setEnabled(false);
    socket_->close();
    // Whatever the closed connection still had to say is of no use now.
    deferredData_.clear();
    forgetAhead();
    if (TempFileHandle_ != 0) closeTempFile(true);
    ListLines_.clear();
    progressValue_ = 0;
    progressMax_ = 0;
    caption_ = "Checking mail";
    endSession();
    events_->Finished();
}

void frmGetMail::endSession() {
    ++ends_;
    if (!SessionOpen_) return;
    SessionOpen_ = false;
    if (DelesSent_ > 0 && !QuitConfirmed_) {
        // Without the reply to QUIT the server may have rolled every DELE back.
        const std::string text = title() + ": the server did not confirm the end of the session; " +
                                 Str(DelesSent_) + " deletion(s) may not have happened";
        LogAction(text);
        events_->DeletionsUnconfirmed(text, DelesCounted_);
    }
    if (!ledger_.isOpen()) return;
    // Only a session that judged every message knows what the server still holds.
    if (QuitConfirmed_ && (MessageCount_ == 0 || MessageNumber_ > MessageCount_))
        ledger_.forgetUnseen();
    if (!ledger_.save()) RecordAction("Could not write the retrieve ledger", "endSession", Module);
    ledger_.close();
}

void frmGetMail::Timer1_Timer() {
    SecondsWaited_ = add16(SecondsWaited_, 1);
    if (SecondsWaited_ > 2)
        events_->Progress(title() +
                          " - Trying to connect: " + Str(ConnectTimeout_ - SecondsWaited_));
    if (SecondsWaited_ >= ConnectTimeout_) {
        SecondsWaited_ = 0;
        RecordAction("Last Data string: " + lastData_, "Timer1_Timer", Module);
        RecordAction("Timed out", "Timer1_Timer", Module);
        CancelMail();
        events_->TimedOut(ConnectTimeout_);
    }
}

void frmGetMail::socketError(int number, const std::string& description) {
    guarded("sckMail_Error", Module, [&] {
        RecordAction("Winsock Error " + Str(number), "sckMail_Error", Module);
        namespace E = platform::SocketError;
        switch (number) {
        case E::HostNotFound:
        case E::NoData:
        case E::TimedOut:
        case E::NetworkUnreachable:
        case E::HostUnreachable:
        case E::ConnectionAborted:
            Timer1_->setEnabled(false);
            events_->NoConnection();
            endSession();
            events_->Finished();
            break;
        case E::CertificateRejected:
            certificateRefused();
            break;
        case E::SecureChannel:
            Timer1_->setEnabled(false);
            socket_->close();
            events_->POPError(title() + ": " + description);
            endSession();
            events_->Finished();
            break;
        default:
            // Deliberately nothing more: the timer runs on and the transfer ends by time-out.
            platform::current().prompts().messageBox(
                gettranslation("Error while connecting to server:\r\n") + "[" + Str(number) + "] " +
                description);
        }
    });
}

void frmGetMail::certificateRefused() {
    Timer1_->setEnabled(false);
    const platform::CertificateInfo certificate = socket_->peerCertificate();
    socket_->close();
    const Account settings(account_);
    const auto [host, port] = settings.popAddress();
    const std::string server = host + ":" + Str(port);
    const std::string trusted = settings.trustedCertificate("POP");
    std::string text;
    if (!trusted.empty()) {
        // Trust was given to one certificate; a different one may be an impostor.
        text = "The certificate of " + server +
               " has changed since you trusted it, and is refused.\n" +
               platform::describeCertificate(certificate);
    } else if (!certificate.empty() &&
               platform::current().prompts().trustCertificate(server, certificate)) {
        settings.setTrustedCertificate("POP", certificate.fingerprint);
        savesettings();
        LogAction(title() + ": certificate " + certificate.fingerprint + " trusted for " + server);
        state_ = StNew;
        connectToServer(account_);
        return;
    } else {
        text = "The certificate of " + server + " was not accepted.\n" +
               platform::describeCertificate(certificate) +
               "\nTo trust it: corva trust --account " + Str(account_);
    }
    RecordAction(text, "certificateRefused", Module);
    events_->POPError(text);
    endSession();
    events_->Finished();
}

void frmGetMail::socketSecured() {
    guarded("sckMail_Secured", Module, [&] {
        LogAction(title() + ": secure connection established");
        if (state_ == StStlsSent) sendUser();
    });
}

void frmGetMail::send(const std::string& command) {
    // A command to a closed socket goes nowhere; the time-out ends the transfer.
    if (socket_->state() != platform::SocketState::Connected) {
        RecordAction("Not connected, dropped " + Left(command, 4), "send", Module);
        return;
    }
    socket_->sendData(command + "\r\n");
    // The reply can't come before the command leaves: don't wait for the next event pass.
    socket_->flush();
}

// ---------------------------------------------------------------------------
// The dialogue.
//
//   state       waits for     on a good reply
//   StNew       greeting      security 2: send STLS               -> StStlsSent
//                             else send USER                      -> StUserSent
//   StStlsSent  STLS reply    start TLS; once secured send USER   -> StUserSent
//   StUserSent  USER reply    send PASS                           -> StPassSent
//   StPassSent  PASS reply    secure: send CAPA                   -> StCapaSent
//                             else send LIST                      -> StListSent
//   StCapaSent  CAPA text     note PIPELINING; send LIST          -> StListSent
//   StListSent  LIST text     gather to the dot line; send STAT   -> StStatSent
//   StStatSent  STAT reply    count 0: QUIT                       -> StQuitSent
//                             specific: RETR n (or QUIT if beyond) -> StRetrSent
//                             else TOP 1 1                        -> StTopSent
//   StTopSent   TOP text      judge the header:
//                               delete: DELE n                    -> StDeleSent
//                               retrieve: RETR n                  -> StRetrSent
//                               else next: TOP n+1 1 or QUIT      -> StTopSent / StQuitSent
//   StRetrSent  RETR text     to mail_<h>.tmp; at the dot line hand the
//                             message over; next: TOP or QUIT     -> StTopSent / StQuitSent
//   StDeleSent  DELE reply    next: TOP n 1 or QUIT; DeletedSpam  -> StTopSent / StQuitSent
//   StQuitSent  QUIT reply    status line, clean up, Finished
//
// On a secure connection whose server names PIPELINING, a scan without deletion keeps up to
// AheadWindow TOP commands on their way; its bytes are those of the lock-step dialogue. A
// retrieve, or a scan that deletes, that stops at the last message runs in one state instead,
// StPipelined:
//
//   state        reply matched to   on a complete good reply
//   StStatSent   STAT               TOP 1 1 ... TOP w 1 (w: AheadWindow) -> StPipelined
//   StPipelined  TOP n              judge; refill the TOP window when half of it is answered
//                                     delete: DELE n         (its reply: DeletedSpam)
//                                     retrieve: RETR n       (its reply: hand the message over)
//                                     else: HeaderReceived   (once the messages before are done)
//                RETR n             the next commands leave, then the message is checked and
//                                   handed over; with DELETEONRETRIEVE, DELE n once it is stored
//                DELE n             DeletedSpam, or nothing for a stored message's DELE
//                nothing in flight, every TOP judged: QUIT                -> StQuitSent
//                any refusal: QUIT, POPError, clean up
//
// Replies come in the order the commands went, so a message's last reply comes after those of
// every message before it; only the events of a header that needs no further command wait, so
// each message's events come in the order of the messages, as in the lock-step dialogue. QUIT
// waits for every reply, so Stop still takes back every deletion.
//
// A reply not starting with "+" fails the dialogue, except in the four
// multi-line states, where every piece counts as good. "-ERR" once the last
// message is passed ends the dialogue quietly (servers that don't stop at last).

void frmGetMail::socketDataArrival(const std::string& data) {
    // A handler that lets events run must not see the next reply before it
    // has finished with this one: data that comes meanwhile waits, in order.
    if (inDataArrival_) {
        deferredData_.push_back(data);
        return;
    }
    inDataArrival_ = true;
    reported("DataArrival", Module, [&] { DataArrival(data); });
    while (!deferredData_.empty()) {
        std::string next = std::move(deferredData_.front());
        deferredData_.pop_front();
        reported("DataArrival", Module, [&] { DataArrival(next); });
    }
    inDataArrival_ = false;
}

void frmGetMail::DataArrival(const std::string& data) {
    SecondsWaited_ = 0;
    startTimer1();
    lastData_ = data;
    if (state_ == StPipelined) {
        onPipelinedData(data);
        return;
    }

    // Replies of the login and the deletions are logged; message text is not.
    if (state_ == StNew || state_ == StDeleSent || state_ == StQuitSent || !InMultiLine_)
        LogAction(title() + ": " + data);

    if (state_ == StQuitSent) {
        onQuitText(data);
        return;
    }

    if (MessageNumber_ > MessageCount_ && InStrNoCase(data, "-err") > 0) {
        state_ = StQuitSent;
        send("QUIT");
        InMultiLine_ = false;
        return;
    }

    bool good = (!data.empty() && data[0] == '+') || state_ == StListSent || state_ == StStatSent ||
                state_ == StTopSent || state_ == StRetrSent || state_ == StCapaSent;
    if (!good) {
        endOnError(data);
        return;
    }

    switch (state_) {
    case StNew:
        onGreeting();
        break;
    case StUserSent:
        onUserReply();
        break;
    case StPassSent:
        onPassReply();
        break;
    case StListSent:
        onListText(data);
        break;
    case StStatSent:
        onStatReply(data);
        break;
    case StTopSent:
        onTopText(data);
        break;
    case StRetrSent:
        onRetrText(data);
        break;
    case StDeleSent:
        onDeleReply();
        break;
    case StQuitSent:
        onQuitReply();
        break;
    case StStlsSent:
        onStlsReply();
        break;
    case StCapaSent:
        onCapaText(data);
        break;
    case StPipelined:
        break; // taken above
    }
}

void frmGetMail::onGreeting() {
    InMultiLine_ = false;
    const std::string connecting = "Connecting to " + title() + " ...";
    if (mode_ != GetSpecificMode) caption_ = connecting;
    MessageCount_ = 0;
    MessageNumber_ = 0;
    TopsSent_ = 0;
    pipelining_ = false;
    events_->Progress(connecting);
    if (security_[account_] == Account::StartTls && !socket_->isSecure()) {
        state_ = StStlsSent;
        send("STLS");
        LogAction("Sending STLS command");
        return;
    }
    sendUser();
}

void frmGetMail::onStlsReply() {
    // Nothing more goes out until the handshake is done: socketSecured sends USER.
    socket_->startSecure(socket_->remoteHost());
}

void frmGetMail::sendUser() {
    state_ = StUserSent;
    send("USER " + userName_[account_]);
    LogAction("Sending USER command");
}

void frmGetMail::onUserReply() {
    events_->Progress("Authorising on " + title() + " ...");
    LogAction("Sending PASS command");
    state_ = StPassSent;
    send("PASS " + password_[account_]);
}

void frmGetMail::onPassReply() {
    // Only a secure session sends commands ahead, and only to a server that
    // says it takes them so; a plain session keeps its dialogue as it was.
    if (socket_->isSecure()) {
        state_ = StCapaSent;
        send("CAPA");
        return;
    }
    sendList();
}

void frmGetMail::onCapaText(const std::string& data) {
    if (ReplyBuffer_.empty() && (data.empty() || data[0] == '-')) {
        sendList(); // no capabilities: every command waits for its reply
        return;
    }
    InMultiLine_ = true;
    size_t from = ReplyBuffer_.size() >= 3 ? ReplyBuffer_.size() - 3 : 0;
    ReplyBuffer_ += data;
    if (!holdsTerminator(ReplyBuffer_, from)) return;
    for (const std::string& line : Split(ReplyBuffer_, "\r\n"))
        if (UCase(Trim(line)) == "PIPELINING") pipelining_ = true;
    ReplyBuffer_.clear();
    InMultiLine_ = false;
    sendList();
}

void frmGetMail::sendList() {
    state_ = StListSent;
    LogAction("Sending LIST command");
    send("LIST");
}

void frmGetMail::onListText(const std::string& data) {
    InMultiLine_ = true;
    size_t from = ReplyBuffer_.size() >= 3 ? ReplyBuffer_.size() - 3 : 0;
    ReplyBuffer_ += data;
    if (!holdsTerminator(ReplyBuffer_, from)) return;
    ListLines_ = Split(ReplyBuffer_, "\r\n");
    ReplyBuffer_.clear();
    if (ledger_.isOpen()) {
        std::multiset<long long> sizes;
        for (size_t i = 1; i < ListLines_.size(); ++i)
            if (InStr(ListLines_[i], " ") > 0) sizes.insert(listedOctets(static_cast<long>(i)));
        ledger_.keepSizes(sizes);
    }
    LogAction("Sending STAT command");
    events_->Progress("Listing messages");
    state_ = StStatSent;
    send("STAT");
}

void frmGetMail::onStatReply(std::string data) {
    events_->Progress("Getting Message Count");
    data = Trim(data);
    if (EndsWith(data, "\r\n")) data.erase(data.size() - 2);
    LogAction("strData = '" + data + "'");

    size_t first = InStr(data, " ");
    if (first == 0) {
        // Nothing is sent: the transfer runs into its time-out.
        MessageCount_ = 0;
        return;
    }
    size_t second = InStr(data, " ", first + 1);
    std::string countText, sizeText;
    if (second > 0) {
        countText = Mid(data, first + 1, second - first - 1);
        sizeText = Mid(data, InStrRev(data, " ") + 1);
    } else {
        countText = Left(data, first - 1);
        sizeText = Mid(data, first + 1);
    }
    MessageCount_ = toInt16(countText);
    Variant size(sizeText);
    if (!size.isNumeric()) throw RunError(Err::TypeMismatch);
    double totalSize = size.toNumber();
    LogAction("intMessages = '" + Str(MessageCount_) + "'");
    LogAction("TotalSize = '" + numberText(totalSize) + "'");

    if (mode_ == GetSpecificMode) {
        if (MessageCount_ < SpecificNumber_) {
            LogAction("Invalid msg number. Sending QUIT command");
            quit();
        } else {
            LogAction("Sending RETR " + Str(SpecificNumber_) + " command");
            state_ = StRetrSent;
            send("RETR " + Str(SpecificNumber_));
        }
        return;
    }
    if (MessageCount_ < 1) {
        LogAction("No mail. Sending QUIT command");
        events_->NoMail(title());
        quit();
        return;
    }
    progressValue_ = 0;
    progressMax_ = MessageCount_;
    events_->Progress(Str(MessageCount_) + " message(s) on " + title() + "   (" +
                      numberText(round2(totalSize / 1024)) + " kb)");
    MessageNumber_ = 1;
    if (pipelinedSession())
        startPipelined();
    else
        askTop();
}

void frmGetMail::onTopText(const std::string& data) {
    const bool ahead = TopsSent_ > MessageNumber_;
    if (ahead && ReplyBuffer_.empty() && !data.empty() && data[0] == '-') {
        // Waiting for a dot line here would take the next reply for this
        // message's and judge every later message by its neighbour's header.
        InMultiLine_ = false;
        LogAction("POP Error: " + data);
        state_ = StQuitSent;
        send("QUIT");
        events_->POPError(data.substr(0, data.find("\r\n") + 2));
        cleanupandexit();
        return;
    }
    size_t from = ReplyBuffer_.size() >= 3 ? ReplyBuffer_.size() - 3 : 0;
    ReplyBuffer_ += data;
    if (!holdsTerminator(ReplyBuffer_, from)) return;
    if (ahead) keepReplyAfter(from);

    clsMessage msg;
    msg.CreateFromText(replyText(ReplyBuffer_), true);
    msg.FromAccount = account_;
    float listed = listedSize(MessageNumber_);
    if (listed >= 0) msg.Size = listed;
    MessagesHandled_ = add16(MessagesHandled_, 1);
    msg.MessageNumThisAcc = MessagesHandled_;
    if (ledger_.isOpen()) ledger_.seen(RetrieveLedger::keyFor(msg, listedOctets(MessageNumber_)));
    if (serverRules_) serverRules_->CheckMessage(msg, true);
    ReplyBuffer_.clear();
    judgeHeader(msg);
}

void frmGetMail::judgeHeader(clsMessage& msg) {
    const std::string n = Str(MessageNumber_);
    const std::string ofCount = " of " + Str(MessageCount_);
    if (msg.Deleted || msg.BlockedSender || msg.BlockedRecip) {
        if (DeleteBlocked_) {
            // A deleted message leaves no trace in the list: no HeaderReceived.
            events_->Progress("Deleting message " + n + ofCount);
            state_ = StDeleSent;
            sendDele(n);
            ++MessageNumber_;
        } else {
            // As after a retrieved message, the next command goes first and
            // its reply waits until the list has taken this header.
            ++MessageNumber_;
            nextMessage();
            events_->Progress("Skipping message " + n + ofCount + " (" + msg.FilterReason + ")");
            events_->HeaderReceived(msg);
        }
    } else if (msg.Ignored) {
        ++MessageNumber_;
        nextMessage();
        events_->Progress("Ignoring message " + n + ofCount);
        events_->HeaderReceived(msg);
    } else if (mode_ == GetHeadersMode) {
        ++MessageNumber_;
        nextMessage();
        events_->Progress("Passed message " + n + ofCount);
        events_->HeaderReceived(msg);
    } else if (mode_ == GetMessagesMode) {
        LogAction("Sending RETR " + n);
        state_ = StRetrSent;
        send("RETR " + n);
    }
}

void frmGetMail::nextMessage() {
    if (stopAtLast_[account_] && MessageNumber_ > MessageCount_) {
        LogAction("Got last message. Sending QUIT");
        quit();
        return;
    }
    // Without STOPATLAST this asks one beyond the count on purpose: the
    // server's refusal is what ends the dialogue.
    askTop();
}

bool frmGetMail::scanAhead() const {
    // Whatever the verdicts, such a scan sends TOP 1 to TOP count, then QUIT.
    return mode_ == GetHeadersMode && !DeleteBlocked_ && stopAtLast_[account_] && pipelining_;
}

void frmGetMail::askTop() {
    state_ = StTopSent;
    std::string commands;
    if (TopsSent_ < MessageNumber_) {
        TopsSent_ = MessageNumber_;
        commands = "TOP " + Str(TopsSent_) + " 1";
    }
    // Refilled half a window at a time: fewer, fuller writes on both sides.
    if (scanAhead() && TopsSent_ - MessageNumber_ < AheadWindow / 2) {
        while (TopsSent_ < MessageCount_ && TopsSent_ - MessageNumber_ < AheadWindow) {
            if (!commands.empty()) commands += "\r\n";
            commands += "TOP " + Str(++TopsSent_) + " 1";
        }
    }
    if (!commands.empty()) send(commands);
}

void frmGetMail::keepReplyAfter(size_t from) {
    const size_t end = terminatorEnd(ReplyBuffer_, from);
    if (end == std::string::npos || end >= ReplyBuffer_.size()) return;
    deferredData_.push_front(ReplyBuffer_.substr(end));
    ReplyBuffer_.erase(end);
}

void frmGetMail::quit() {
    state_ = StQuitSent;
    send("QUIT");
}

long long frmGetMail::listedOctets(long number) const {
    if (number < 0 || static_cast<size_t>(number) >= ListLines_.size()) return -1;
    const std::string& line = ListLines_[static_cast<size_t>(number)];
    size_t blank = InStr(line, " ");
    return blank == 0 ? -1 : std::strtoll(line.c_str() + blank, nullptr, 10);
}

void frmGetMail::sendDele(const std::string& number) {
    ++DelesSent_;
    send("DELE " + number);
}

float frmGetMail::listedSize(long number) const {
    if (number < 0 || static_cast<size_t>(number) >= ListLines_.size()) return -1;
    const std::string& line = ListLines_[static_cast<size_t>(number)];
    size_t blank = InStr(line, " ");
    if (blank == 0) return 1;
    return static_cast<float>(round2(Val(Mid(line, blank + 1)) / 1024));
}

void frmGetMail::cannotWriteMessage(const char* procedure) {
    // With nowhere to put the message, waiting on would only end in the
    // time-out: say why now, and leave the message on the server.
    const std::string text = title() + ": cannot write the message to " + MessageFolder;
    RecordAction(text, procedure, Module);
    InMultiLine_ = false;
    state_ = StQuitSent;
    send("QUIT");
    events_->POPError(text);
    cleanupandexit();
}

void frmGetMail::onRetrText(const std::string& data) {
    try {
        if (TempFileHandle_ == 0) openTempFile();
        if (!data.empty() && !tempFile_->write(data)) throw RunError(Err::DeviceIO);
    } catch (const RunError&) {
        cannotWriteMessage("onRetrText");
        return;
    }
    BytesReceived_ += static_cast<int64_t>(data.size());

    // Only the tail is kept, to see the terminator even when it is split
    // between two data events; the message itself is on disk.
    size_t from = ReplyBuffer_.size() >= 3 ? ReplyBuffer_.size() - 3 : 0;
    ReplyBuffer_ += data;
    bool complete = holdsTerminator(ReplyBuffer_, from);
    if (ReplyBuffer_.size() > 500)
        ReplyBuffer_ = complete ? std::string(Terminator) : Right(ReplyBuffer_, 500);
    if (!complete) {
        float now = SecondsOfDay();
        if (BytesReceived_ > 10000 && now > NextProgressTime_) {
            events_->Progress("Receiving message (" + Str(BytesReceived_) + " bytes)");
            NextProgressTime_ = now + 0.5f;
        }
        return;
    }

    const std::string path = tempFilePath(TempFileHandle_);
    closeTempFile(false);

    // Unless a DELE may have to go first, the next command leaves before the
    // message is read, checked and stored, so that the server prepares its
    // reply while we work. The wire is the same; the reply waits its turn
    // (see socketDataArrival).
    const int32_t number = MessageNumber_;
    const std::string count = Str(MessageCount_);
    const bool deleting = sget("DELETEONRETRIEVE", 0).toNumber() == 1;
    // A count that overflows stops the dialogue before anything more is sent.
    const int16_t handled = add16(MessagesHandled_, 1);
    if (mode_ != GetSpecificMode && !deleting) askAfterRetrieve();
    // The temporary file stays: the next message with the same number overwrites it.
    const std::string text = LoadTextFile(path);
    ReplyBuffer_.clear();
    MessagesHandled_ = handled;
    handOver(text, number, count, handled, deleting);
}

void frmGetMail::handOver(const std::string& text, int32_t number, const std::string& count,
                          int16_t handled, bool deleting) {
    const bool deletable = deliver(text, number, count, handled);
    if (mode_ == GetSpecificMode || !deleting) return;
    // No reply is awaited: the next command follows at once, and the server's
    // answer to DELE arrives at the front of the next reply.
    if (deletable) sendDele(Str(number));
    RepliesBeforeQuit_ = deletable ? 1 : 0;
    askAfterRetrieve();
    if (state_ != StQuitSent) RepliesBeforeQuit_ = 0;
}

bool frmGetMail::deliver(const std::string& text, int32_t number, const std::string& count,
                         int16_t handled) {
    clsMessage msg;
    msg.CreateFromText(replyText(text), false);
    msg.RemoveReceiveDate();
    msg.ReceiveDate = DateTime::now().format("yyyy-mm-dd hh:nn:ss");
    msg.FromAccount = account_;
    msg.Read = false;
    msg.MessageNumThisAcc = handled;

    if (mode_ == GetSpecificMode) {
        events_->Progress("Selected message downloaded");
        MessagesHandled_ = SpecificNumber_;
        events_->SpecificMessage(msg);
        quit();
        return false;
    }

    const std::string n = Str(number);
    if (serverRules_) serverRules_->CheckMessage(msg, true);
    if (localRules_ && !msg.Ignored && !msg.Deleted && !msg.BlockedSender && !msg.BlockedRecip &&
        !msg.Suspicious && msg.DestFolder.empty())
        localRules_->CheckMessage(msg, false);
    const std::string key =
        ledger_.isOpen() ? RetrieveLedger::keyFor(msg, listedOctets(number)) : std::string();
    if (!key.empty() && ledger_.storedEarlier(key)) {
        // Its DELE was rolled back, or it is kept on the server: the store has it.
        LogAction("Message " + n + " was stored by an earlier session");
        events_->Progress("Message " + n + " of " + count + " is stored already");
    } else {
        events_->MessageReceived(msg);
        if (!key.empty() && !msg.Filename().empty()) ledger_.recordStored(key);
        events_->Progress("Downloaded Message " + n + " of " + count +
                          (msg.DestFolder.empty() ? " to Inbox" : " to " + msg.DestFolder));
    }
    progressValue_ = number;
    progressMax_ = std::max(MessageCount_, number);
    return !msg.Ignored;
}

// ---------------------------------------------------------------------------
// A retrieve, or a scan that deletes, with commands on their way

bool frmGetMail::pipelinedSession() const {
    // Without STOPATLAST the dialogue ends by the server's refusal of a TOP
    // past the count, which a window would reach early.
    return (mode_ == GetMessagesMode || (mode_ == GetHeadersMode && DeleteBlocked_)) &&
           pipelining_ && stopAtLast_[account_];
}

void frmGetMail::startPipelined() {
    state_ = StPipelined;
    forgetAhead();
    topUpAhead();
    flushAhead();
}

void frmGetMail::forgetAhead() {
    replies_.clear();
    outgoing_.clear();
    unsentDeles_ = 0;
    awaiting_.clear();
    judged_.clear();
}

void frmGetMail::topUpAhead() {
    // MessageNumber_ is the next header to judge; refilled half a window at a
    // time, for fewer and fuller writes on both sides.
    if (TopsSent_ - MessageNumber_ + 1 > AheadWindow / 2) return;
    while (TopsSent_ < MessageCount_ && TopsSent_ - MessageNumber_ + 1 < AheadWindow) {
        ++TopsSent_;
        sendAhead({ReplyQueue::Kind::Top, TopsSent_, 0}, "TOP " + Str(TopsSent_) + " 1");
    }
}

void frmGetMail::sendAhead(const ReplyQueue::Command& command, const std::string& text) {
    replies_.sent(command);
    if (command.kind == ReplyQueue::Kind::Dele || command.kind == ReplyQueue::Kind::DeleStored)
        ++unsentDeles_;
    if (!outgoing_.empty()) outgoing_ += "\r\n";
    outgoing_ += text;
}

void frmGetMail::flushAhead() {
    if (outgoing_.empty()) return;
    std::string commands;
    commands.swap(outgoing_);
    DelesSent_ += unsentDeles_;
    unsentDeles_ = 0;
    send(commands);
}

void frmGetMail::onPipelinedData(const std::string& data) {
    const unsigned ends = ends_;
    replies_.feed(data, [&](const ReplyQueue::Piece& piece) {
        return onPipelinedPiece(piece) && ends_ == ends;
    });
    if (ends_ != ends) return;
    flushAhead();
    if (MessageNumber_ > MessageCount_ && replies_.empty() && judged_.empty()) {
        LogAction("Got last message. Sending QUIT");
        RepliesBeforeQuit_ = 0;
        quit();
    }
}

bool frmGetMail::onPipelinedPiece(const ReplyQueue::Piece& piece) {
    if (piece.first) ReplyBuffer_.clear();
    const ReplyQueue::Command& command = piece.command;
    if (command.kind == ReplyQueue::Kind::Retr && !piece.refused) return takeRetrPiece(piece);
    ReplyBuffer_.append(piece.bytes);
    if (!piece.last) return true;
    if (piece.refused) {
        endOnError(ReplyBuffer_);
        return false;
    }
    switch (command.kind) {
    case ReplyQueue::Kind::Top:
        return judgeAhead(command.number);
    case ReplyQueue::Kind::Dele: {
        LogAction(title() + ": " + ReplyBuffer_);
        awaiting_.pop_front();
        const unsigned ends = ends_;
        events_->Progress("Deleting message " + Str(command.number) + " of " + Str(MessageCount_));
        ++DelesCounted_;
        events_->DeletedSpam(1);
        return ends_ == ends && releaseHeaders();
    }
    case ReplyQueue::Kind::DeleStored:
        LogAction(title() + ": " + ReplyBuffer_);
        return true;
    case ReplyQueue::Kind::Retr:
        break;
    }
    return true;
}

bool frmGetMail::judgeAhead(int32_t number) {
    clsMessage msg;
    msg.CreateFromText(replyText(ReplyBuffer_), true);
    ReplyBuffer_.clear();
    msg.FromAccount = account_;
    const float listed = listedSize(number);
    if (listed >= 0) msg.Size = listed;
    MessagesHandled_ = add16(MessagesHandled_, 1);
    msg.MessageNumThisAcc = MessagesHandled_;
    if (ledger_.isOpen()) ledger_.seen(RetrieveLedger::keyFor(msg, listedOctets(number)));
    if (serverRules_) serverRules_->CheckMessage(msg, true);
    MessageNumber_ = number + 1;

    const std::string n = Str(number);
    const std::string ofCount = " of " + Str(MessageCount_);
    std::string progress;
    if (msg.Deleted || msg.BlockedSender || msg.BlockedRecip) {
        if (DeleteBlocked_) {
            sendAhead({ReplyQueue::Kind::Dele, number, 0}, "DELE " + n);
            awaiting_.push_back(number);
        } else {
            progress = "Skipping message " + n + ofCount + " (" + msg.FilterReason + ")";
        }
    } else if (msg.Ignored) {
        progress = "Ignoring message " + n + ofCount;
    } else if (mode_ == GetHeadersMode) {
        progress = "Passed message " + n + ofCount;
    } else {
        LogAction("Sending RETR " + n);
        // The count a lock-step retrieve would have reached at this RETR's reply.
        MessagesHandled_ = add16(MessagesHandled_, 1);
        sendAhead({ReplyQueue::Kind::Retr, number, MessagesHandled_}, "RETR " + n);
        awaiting_.push_back(number);
    }
    topUpAhead();
    if (!progress.empty())
        judged_.push_back({number, std::make_unique<clsMessage>(std::move(msg)), progress});
    return releaseHeaders();
}

bool frmGetMail::releaseHeaders() {
    const unsigned ends = ends_;
    while (!judged_.empty() && (awaiting_.empty() || judged_.front().number < awaiting_.front())) {
        const Judged header = std::move(judged_.front());
        judged_.pop_front();
        events_->Progress(header.progress);
        if (ends_ != ends) return false;
        events_->HeaderReceived(*header.msg);
        if (ends_ != ends) return false;
    }
    return true;
}

bool frmGetMail::takeRetrPiece(const ReplyQueue::Piece& piece) {
    try {
        if (TempFileHandle_ == 0) openTempFile();
        if (!piece.bytes.empty() && !tempFile_->write(piece.bytes)) throw RunError(Err::DeviceIO);
    } catch (const RunError&) {
        cannotWriteMessage("takeRetrPiece");
        return false;
    }
    BytesReceived_ += static_cast<int64_t>(piece.bytes.size());
    if (!piece.last) {
        const float now = SecondsOfDay();
        if (BytesReceived_ > 10000 && now > NextProgressTime_) {
            events_->Progress("Receiving message (" + Str(BytesReceived_) + " bytes)");
            NextProgressTime_ = now + 0.5f;
        }
        return true;
    }
    const std::string path = tempFilePath(TempFileHandle_);
    closeTempFile(false);
    const std::string text = LoadTextFile(path);
    // The server works on what follows while this message is checked and stored.
    flushAhead();
    awaiting_.pop_front();
    const unsigned ends = ends_;
    const int32_t number = piece.command.number;
    const bool deletable = deliver(text, number, Str(MessageCount_), piece.command.handled);
    if (ends_ != ends) return false;
    // Only now is the message stored, and only now may it leave the server.
    if (deletable && sget("DELETEONRETRIEVE", 0).toNumber() == 1)
        sendAhead({ReplyQueue::Kind::DeleStored, number, 0}, "DELE " + Str(number));
    return releaseHeaders();
}

void frmGetMail::endOnError(const std::string& reply) {
    // Commands decided but not yet written (pipelined sessions only) stay
    // unwritten: the session ends here.
    outgoing_.clear();
    unsentDeles_ = 0;
    InMultiLine_ = false;
    LogAction("POP Error: " + reply);
    state_ = StQuitSent;
    send("QUIT");
    events_->POPError(reply);
    cleanupandexit();
}

void frmGetMail::askAfterRetrieve() {
    if (MessageNumber_ > MessageCount_) MessageCount_ = MessageNumber_;
    ++MessageNumber_;
    if (stopAtLast_[account_] && MessageNumber_ > MessageCount_) {
        quit();
    } else {
        askTop();
    }
}

void frmGetMail::onDeleReply() {
    nextMessage();
    ++DelesCounted_;
    events_->DeletedSpam(1);
}

void frmGetMail::onQuitText(const std::string& data) {
    // The reply to a DELE sent just before QUIT may come first, in the same
    // data or alone: only QUIT's own reply ends the session.
    QuitText_ += data;
    size_t start = 0;
    for (int i = 0; i < RepliesBeforeQuit_; ++i) {
        size_t end = QuitText_.find("\r\n", start);
        if (end == std::string::npos) return;
        start = end + 2;
    }
    if (start >= QuitText_.size()) return;
    if (QuitText_[start] == '+') {
        QuitConfirmed_ = true;
        onQuitReply();
        return;
    }
    InMultiLine_ = false;
    LogAction("POP Error: " + data);
    events_->POPError(data);
    cleanupandexit();
}

void frmGetMail::onQuitReply() {
    InMultiLine_ = false;
    if (mode_ == GetHeadersMode || mode_ == GetMessagesMode)
        events_->Progress(MessageCount_ != 0 ? title() + " scan complete"
                                             : "No mail on " + title());
    cleanupandexit();
}

// ---------------------------------------------------------------------------
// Helpers

void frmGetMail::openTempFile() {
    BytesReceived_ = 0;
    int h = freeFileNumber();
    const std::string path = tempFilePath(h);
    // The old file is written over and cut to length when the message is
    // complete. Emptying a file just written makes the file system flush it
    // first, and making a new one costs a directory update: either is a disk
    // wait per message. A leftover we may not write to is replaced.
    platform::FileResult opened;
    tempFile_ = platform::current().files().openOverwrite(path, opened);
    if (!tempFile_) throw RunError(Err::PathNotFound);
    openFileNumbers().insert(h);
    TempFileHandle_ = static_cast<int16_t>(h);
    LogAction("Saving to " + path + " (File handle: " + Str(h) + ")");
}

void frmGetMail::closeTempFile(bool remove) {
    bool cut = true;
    if (tempFile_) {
        // What an earlier, longer message left behind the end goes.
        cut = tempFile_->finish().ok() || remove;
        tempFile_.reset();
    }
    if (TempFileHandle_ != 0) {
        if (remove) EraseFile(tempFilePath(TempFileHandle_));
        openFileNumbers().erase(TempFileHandle_);
        TempFileHandle_ = 0;
    }
    if (!cut) throw RunError(Err::DeviceIO);
}

std::string frmGetMail::replyText(const std::string& reply) {
    size_t lineEnd = reply.find("\r\n");
    std::string text = lineEnd == std::string::npos ? reply : reply.substr(lineEnd + 2);
    text.erase(text.size() >= 3 ? text.size() - 3 : 0);
    return text;
}

bool frmGetMail::holdsTerminator(const std::string& text, size_t from) {
    return text.find(Terminator, from) != std::string::npos;
}

size_t frmGetMail::terminatorEnd(const std::string& text, size_t from) {
    const size_t at = text.find(Terminator, from);
    return at == std::string::npos ? at : at + TerminatorSize;
}

} // namespace corva
