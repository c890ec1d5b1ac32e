// The POP3 session: one socket, one mailbox at a time. It scans headers with
// TOP, retrieves what passes the rule check with RETR, or fetches one numbered
// message, and tells its owner everything through frmGetMailEvents.
#pragma once

#include "core/Account.h"
#include "platform/Platform.h"
#include "pop3/ReplyQueue.h"
#include "pop3/RetrieveLedger.h"

#include <array>
#include <cstdint>
#include <cstdio>
#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace corva {

class clsMessage;
class MessageCheck;

// What the session tells its owner. Every event has an empty default, so an
// owner overrides only what it shows.
class frmGetMailEvents {
public:
    virtual ~frmGetMailEvents() = default;
    // A header was judged and the message is not being retrieved or deleted.
    virtual void HeaderReceived(clsMessage& msg) { (void)msg; }
    // A whole message is complete (scanning or retrieving). An owner that
    // stores it sets its file name; only then does it count as stored. A
    // message an earlier session stored is not raised again.
    virtual void MessageReceived(clsMessage& msg) { (void)msg; }
    // The message asked for by GetSpecificMessage is complete.
    virtual void SpecificMessage(clsMessage& msg) { (void)msg; }
    virtual void Progress(const std::string& text) { (void)text; }
    // A reply failed; the text is the server's, as it came.
    virtual void POPError(const std::string& serverText) { (void)serverText; }
    virtual void DoingServer(const std::string& title) { (void)title; }
    // No data within the time allowed; comes after Cancelled and Finished.
    virtual void TimedOut(int seconds) { (void)seconds; }
    // The session is idle again.
    virtual void Finished() {}
    virtual void Cancelled() {}
    // The account has no server, or is not active.
    virtual void NoMailServer() {}
    // The server confirmed a DELE.
    virtual void DeletedSpam(int count) { (void)count; }
    // The session ended without the server's reply to QUIT after DELE
    // commands, so the server may have kept every message: counted is how
    // many DeletedSpam raised this session took back. Comes before Finished.
    virtual void DeletionsUnconfirmed(const std::string& text, int counted) {
        (void)text;
        (void)counted;
    }
    virtual void NoMail(const std::string& title) { (void)title; }
    // The socket reported a network-class error.
    virtual void NoConnection() {}
};

class frmGetMail : private platform::SocketListener {
public:
    static constexpr int AccountCount = Account::Count;
    static constexpr int DefaultPort = 110;

    enum Mode : int16_t {
        NoMode = 0,
        GetHeadersMode = 1,
        GetMessagesMode = 2,
        GetSpecificMode = 3
    };
    enum State : int16_t {
        StNew = 0,
        StUserSent = 1,
        StPassSent = 2,
        StListSent = 3,
        StStatSent = 4,
        StTopSent = 5,
        StRetrSent = 6,
        StDeleSent = 7,
        StQuitSent = 8,
        StStlsSent = 9,
        StCapaSent = 10,
        // Commands on their way (a retrieve, a scan that deletes): replies matched from ReplyQueue.
        StPipelined = 11
    };

    frmGetMail();
    ~frmGetMail() override;
    frmGetMail(const frmGetMail&) = delete;
    frmGetMail& operator=(const frmGetMail&) = delete;

    void setListener(frmGetMailEvents* listener);
    // The server and local rules; a null check passes every message.
    void setRuleChecks(MessageCheck* serverRules, MessageCheck* localRules);

    // Stops at once without QUIT, so the server forgets the deletions of this session.
    void CancelMail();
    // Fetches one message by number with the account data of the last transfer.
    void GetSpecificMessage(int account, long number);
    // Scans the headers of an account's mailbox.
    void GetHeaders(int account, bool deleteBlocked, bool force);
    // Scans and retrieves what passes the rule check.
    void GetMessages(int account, bool deleteBlocked, bool force);

    // What a window would show of the session.
    const std::string& caption() const { return caption_; }
    long progressValue() const { return progressValue_; }
    long progressMax() const { return progressMax_; }
    State state() const { return state_; }
    Mode mode() const { return mode_; }

    // A server setting "host:port" names its port; a plain host uses 110.
    static std::pair<std::string, int> serverAddress(const std::string& setting);
    // The temporary file a retrieval with this file number writes to.
    static std::string tempFilePath(int handle);

private:
    void Begintransfer(int account, bool deleteBlocked, bool force);
    void readAccounts();
    void askPassword(int account);
    void connectToServer(int account);
    void cleanupandexit();
    void Timer1_Timer();
    void startTimer1();

    void socketDataArrival(const std::string& data) override;
    void socketError(int number, const std::string& description) override;
    void socketSecured() override;
    // A certificate the socket refused: trusted now by the user (and the
    // session starts again), or the transfer ends with a text that says why.
    void certificateRefused();
    void DataArrival(const std::string& data);

    // One function per state of the dialogue.
    void onGreeting();
    void onStlsReply();
    void onCapaText(const std::string& data);
    void sendList();
    void sendUser();
    void onUserReply();
    void onPassReply();
    void onListText(const std::string& data);
    void onStatReply(std::string data);
    void onTopText(const std::string& data);
    void onRetrText(const std::string& data);
    void onDeleReply();
    void onQuitText(const std::string& data);
    void onQuitReply();
    // Every end of a session: unconfirmed deletions said, the ledger kept.
    void endSession();

    void judgeHeader(clsMessage& msg);
    void nextMessage();
    // After a retrieved message: TOP of the next one, or QUIT after the last.
    void askAfterRetrieve();
    // TOP of MessageNumber_, unless it went out ahead; tops up the scan's window.
    void askTop();
    // Whether a scan sends its TOP commands ahead of their replies.
    bool scanAhead() const;
    // Cuts what follows the dot line at or after from off the reply buffer,
    // for the next data event: the start of a reply to a command sent ahead.
    void keepReplyAfter(size_t from);
    void quit();
    void send(const std::string& command);
    float listedSize(long number) const;
    long long listedOctets(long number) const;
    void sendDele(const std::string& number);
    // Reads a retrieved message, checks it and hands it to the owner; with
    // deleting, its DELE and the next command follow.
    void handOver(const std::string& text, int32_t number, const std::string& count,
                  int16_t handled, bool deleting);
    // handOver without what follows: true when the message may be deleted.
    bool deliver(const std::string& text, int32_t number, const std::string& count,
                 int16_t handled);

    // A retrieve, or a scan that deletes, with commands on their way (StPipelined).
    bool pipelinedSession() const;
    void startPipelined();
    // Drops every command and header of a retrieve that ended.
    void forgetAhead();
    void onPipelinedData(const std::string& data);
    // False once the session has ended.
    bool onPipelinedPiece(const ReplyQueue::Piece& piece);
    bool takeRetrPiece(const ReplyQueue::Piece& piece);
    bool judgeAhead(int32_t number);
    void topUpAhead();
    void sendAhead(const ReplyQueue::Command& command, const std::string& text);
    void flushAhead();
    // Raises the events of judged headers whose turn has come; false once the session has ended.
    bool releaseHeaders();
    void endOnError(const std::string& reply);
    void cannotWriteMessage(const char* procedure);
    void openTempFile();
    void closeTempFile(bool remove);
    // The text between the status line and the dot line of a complete reply.
    static std::string replyText(const std::string& reply);
    // True when the terminator LF "." CR LF occurs at or after from.
    static bool holdsTerminator(const std::string& text, size_t from);
    // The position just past the first terminator at or after from, or npos.
    static size_t terminatorEnd(const std::string& text, size_t from);
    const std::string& title() const;

    frmGetMailEvents* events_;
    MessageCheck* serverRules_ = nullptr;
    MessageCheck* localRules_ = nullptr;
    std::unique_ptr<platform::Socket> socket_;
    std::unique_ptr<platform::Timer> Timer1_;

    // Account data, read at the start of each transfer.
    std::array<std::string, AccountCount> password_;
    std::array<std::string, AccountCount> userName_;
    std::array<std::string, AccountCount> server_;
    std::array<bool, AccountCount> active_{};
    std::array<bool, AccountCount> stopAtLast_{};
    std::array<std::string, AccountCount> title_;
    std::array<int, AccountCount> security_{};

    // Transfer state. The 16-bit widths are those the dialogue has always had.
    Mode mode_ = NoMode;
    State state_ = StNew;
    int16_t account_ = 0;
    bool DeleteBlocked_ = false;
    int16_t ConnectTimeout_ = 30;
    int16_t SecondsWaited_ = 0;
    int16_t MessagesHandled_ = 0;
    int16_t SpecificNumber_ = 0;
    int16_t TempFileHandle_ = 0;
    std::unique_ptr<platform::OutputFile> tempFile_;
    std::vector<std::string> ListLines_;

    // Kept from one data event to the next.
    int32_t MessageCount_ = 0;
    int32_t MessageNumber_ = 0;
    std::string ReplyBuffer_;
    float NextProgressTime_ = 0;
    int64_t BytesReceived_ = 0;
    bool InMultiLine_ = false;
    // The highest message number whose TOP is on its way (0: none this session).
    int32_t TopsSent_ = 0;
    // The server named PIPELINING in its capabilities: commands may go ahead.
    bool pipelining_ = false;
    std::string lastData_;
    bool inDataArrival_ = false;
    std::deque<std::string> deferredData_;
    // A session with commands on their way: what was sent and not yet
    // answered, commands decided but not yet written, the messages whose RETR
    // or DELE is unanswered, and headers judged meanwhile, whose events wait
    // so that every message's events come in the order of the messages.
    ReplyQueue replies_;
    std::string outgoing_;
    int unsentDeles_ = 0;
    std::deque<int32_t> awaiting_;
    struct Judged {
        int32_t number = 0;
        std::unique_ptr<clsMessage> msg;
        std::string progress;
    };
    std::deque<Judged> judged_;
    // Counts the ends of sessions, so a handler sees that an event ended its own.
    unsigned ends_ = 0;

    // What the end of a session has to know: DELE commands sent and how many
    // of them DeletedSpam counted, and whether the server answered QUIT.
    int DelesSent_ = 0;
    int DelesCounted_ = 0;
    bool QuitConfirmed_ = false;
    // Replies still due before QUIT's own: the DELE sent right before it.
    int RepliesBeforeQuit_ = 0;
    std::string QuitText_;
    bool SessionOpen_ = false;
    RetrieveLedger ledger_;

    std::string caption_ = "Checking mail";
    long progressValue_ = 0;
    long progressMax_ = 0;
};

} // namespace corva
