// The SMTP engine: holds one outgoing message as properties, writes it to a
// spool file or speaks SMTP over one socket, and reports through its listener.
#pragma once

#include "platform/Platform.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corva {

// The engine's events, in the order its owner has always seen them defined.
class SendMailListener {
public:
    virtual ~SendMailListener() = default;
    virtual void SendSuccessful() {}
    virtual void SendFailed(const std::string& Explanation) { (void)Explanation; }
    virtual void Status(const std::string& Status) { (void)Status; }
    virtual void Progress(int PercentComplete) { (void)PercentComplete; }
};

class frmSendMail : public platform::SocketListener {
public:
    frmSendMail();
    ~frmSendMail() override;
    frmSendMail(const frmSendMail&) = delete;
    frmSendMail& operator=(const frmSendMail&) = delete;

    void setListener(SendMailListener* listener) { listener_ = listener; }

    // Fills every property from the settings of one account and builds the
    // encoding tables; must come before Send.
    void Initialise(int account);

    // ---- Properties ----
    const std::string& SMTPHost() const { return host_; }
    void setSMTPHost(const std::string& host) { host_ = host; }
    int32_t SMTPPort() const { return port_; }
    void setSMTPPort(int32_t port);
    int32_t ConnectTimeout() const { return connectTimeout_; }
    void setConnectTimeout(int32_t seconds);
    int32_t ConnectRetry() const { return connectRetry_; }
    void setConnectRetry(int32_t count);
    int32_t MessageTimeout() const { return messageTimeout_; }
    void setMessageTimeout(int32_t seconds);
    int32_t EncodeType() const { return encodeType_; }
    void setEncodeType(int32_t type);
    bool UseAuthentication() const { return useAuthentication_; }
    void setUseAuthentication(bool on);
    const std::string& Username() const { return username_; }
    void setUsername(const std::string& user) { username_ = user; }
    const std::string& Password() const { return password_; }
    void setPassword(const std::string& password) { password_ = password; }
    bool PersistentSettings() const { return persistentSettings_; }
    void setPersistentSettings(bool on);
    const std::string& From() const { return from_; }
    void setFrom(const std::string& from) { from_ = from; }
    const std::string& FromDisplayName() const { return fromDisplayName_; }
    void setFromDisplayName(const std::string& name) { fromDisplayName_ = name; }
    // List properties read back joined with the delimiter.
    std::string Recipient() const { return joinList(recipients_); }
    void setRecipient(const std::string& list) { recipients_ = splitList(list); }
    std::string RecipientDisplayName() const { return joinList(recipientNames_); }
    void setRecipientDisplayName(const std::string& list) { recipientNames_ = splitList(list); }
    std::string CcRecipient() const { return joinList(ccRecipients_); }
    void setCcRecipient(const std::string& list) { ccRecipients_ = splitList(list); }
    std::string CcDisplayName() const { return joinList(ccNames_); }
    void setCcDisplayName(const std::string& list) { ccNames_ = splitList(list); }
    std::string BccRecipient() const { return joinList(bccRecipients_); }
    void setBccRecipient(const std::string& list) { bccRecipients_ = splitList(list); }
    const std::string& ReplyToAddress() const { return replyTo_; }
    void setReplyToAddress(const std::string& address) { replyTo_ = address; }
    const std::string& Subject() const { return subject_; }
    void setSubject(const std::string& subject) { subject_ = subject; }
    const std::string& Message() const { return message_; }
    // Runs FormatMail on the text, then notes whether it holds 8-bit bytes.
    void setMessage(const std::string& text);
    std::string Attachment() const { return joinList(attachments_); }
    void setAttachment(const std::string& list);
    bool AsHTML() const { return asHTML_; }
    void setAsHTML(bool on) { asHTML_ = on; }
    const std::string& ContentBase() const { return contentBase_; }
    void setContentBase(const std::string& base);
    int32_t Priority() const { return priority_; }
    void setPriority(int32_t priority);
    bool Receipt() const { return receipt_; }
    void setReceipt(bool on) { receipt_ = on; }
    std::string Delimiter() const { return std::string(1, delimiter_); }
    void setDelimiter(const std::string& delimiter);

    // ---- Operations ----
    // Opens the connection and keeps it up between messages; true when it stands.
    bool Connect();
    void Disconnect();
    // Transmits the message; AlreadyFormatted means Message holds the whole
    // text, headers included. True when the server took it.
    bool Send(bool AlreadyFormatted);
    // Writes the message, without a Date: line, to a file; nothing is sent.
    // True when the file was written.
    bool SpoolToFile(const std::string& FileName);
    // Dot-stuffs every line and wraps lines longer than 998 characters.
    std::string FormatMail(const std::string& text) const;
    // The registered content type of a file's extension, else the given one.
    std::string GetContentType(const std::string& FileName, const std::string& ContentType) const;
    void Shutdown() {}
    std::string GetIPHost() const;
    std::string GetIPAddress(const std::string& host = "") const;

    // ---- Encoders ----
    static std::string encodebase64byte(const std::string& bytes);
    static std::string encodebase64string(const std::string& text) {
        return encodebase64byte(text);
    }
    static std::string decodebase64string(const std::string& text);
    // One uuencoded line (without line end) for up to 63 bytes; "" above that.
    static std::string uuencodestring(const std::string& bytes);
    // "+HHMM" or "-HHMM" from a standard bias in minutes (west of UTC positive).
    static std::string timeZoneText(int biasMinutes);

    // The guessed size of the transfer, for the percentage.
    long long estimatemailsize() const;
    // The errors gathered since the last failure, in the order they came.
    const std::vector<std::string>& Errors() const { return errors_; }
    bool Aborted() const { return aborted_; }
    // 0 plain, 1 TLS from the first byte, 2 STARTTLS (Account::Security);
    // Initialise reads it from SMTPSECURITY.
    int Security() const { return security_; }
    void setSecurity(int security) { security_ = security; }
    // The AUTH mechanisms an EHLO reply offers, upper case.
    static std::vector<std::string> offeredMechanisms(const std::string& ehloReply);

private:
    struct Transfer;
    // Socket events.
    void socketConnected() override;
    void socketClosed() override;
    void socketDataArrival(const std::string& data) override;
    void socketError(int number, const std::string& description) override;
    void socketSendProgress(long long bytesSent, long long bytesRemaining) override;
    void socketSecured() override;

    // One complete reply, all its lines, with its code.
    struct Reply {
        int code = 0;
        std::string text;
    };
    // The dialogue where each reply belongs to its command (TLS, and the
    // standard login): the connection up to a logged-in session.
    bool pairedConnect();
    bool openConnection(bool secureFromStart);
    // Sends a command (when given) and waits for its reply; empty when none came.
    std::optional<Reply> exchange(const std::string& command, int seconds);
    // A failure of the paired dialogue: the error, then the usual failure.
    bool pairedFail(const std::string& text);
    bool standardLogin(const std::string& ehloReply);
    // The certificate was refused: the user may trust it (true: try again).
    bool certificateTrusted();

    void onReply(int code, const std::string& whole, const std::string& text);
    void onAuthChallenge(const std::string& text);

    static void appendWrapped(std::string& out, std::string_view line, const std::string& wrapEnd);
    bool connecttohost();
    void disconnectfromhost();
    bool waituntiltrue(const bool& flag, int seconds, bool fatal);
    void timeout();
    void sendfail();
    void failsoon();
    void adderror(const std::string& text);
    void removeerror(const std::string& text);
    bool checkBeforeSending();
    void sendText(const std::string& text);
    void flushText();

    // Where the text goes: the socket, or a spool buffer.
    class Output;
    std::string fromValue(bool spooling) const;
    std::string addressValue(const std::vector<std::string>& addresses,
                             const std::vector<std::string>& names, bool spooling) const;
    std::string dateLine() const;
    // "<time.count.random@domain>", unique for every message this program writes.
    std::string newMessageId() const;
    std::string headerBlock(Output& out, bool spooling, const std::string& boundary) const;
    void writeBody(Output& out, bool spooling);
    bool encodeandsendfile(const std::string& path, int type, Output& out);
    void raiseStatus(const std::string& text);
    void raiseProgress(int percent);

    std::vector<std::string> splitList(const std::string& text) const;
    std::string joinList(const std::vector<std::string>& list) const;

    SendMailListener* listener_ = nullptr;
    std::unique_ptr<platform::Socket> sckMail_;
    std::unique_ptr<platform::Timer> failTimer_;
    bool failPending_ = false;

    // Properties.
    bool initialised_ = false;
    int account_ = 0;
    std::string host_;
    int32_t port_ = 25;
    int32_t connectTimeout_ = 10;
    int32_t connectRetry_ = 3;
    int32_t messageTimeout_ = 60;
    int32_t encodeType_ = 0;
    bool useAuthentication_ = false;
    std::string username_, password_;
    bool persistentSettings_ = false;
    std::string from_, fromDisplayName_;
    std::vector<std::string> recipients_, recipientNames_, ccRecipients_, ccNames_, bccRecipients_;
    std::string replyTo_, subject_, message_;
    std::vector<std::string> attachments_, attachmentNames_;
    long long attachmentBytes_ = 0;
    long long attachmentNameLengths_ = 0;
    bool asHTML_ = false;
    std::string contentBase_;
    int32_t priority_ = 3;
    std::string priorityText_;
    bool receipt_ = false;
    char delimiter_ = ';';
    std::string timeZone_;

    // Transfer state; socket events change it only during event passes.
    std::vector<std::string> errors_;
    bool connected_ = false;
    // The far side closed the connection: no reply can come any more.
    bool closedByServer_ = false;
    bool replySeen_ = false;
    bool dataReady_ = false;
    bool loginOffered_ = false;
    bool authParameter_ = false;
    bool loggedIn_ = false;
    bool aborted_ = false;
    bool keepOpen_ = false;
    bool eightBit_ = false;
    bool disconnecting_ = false;
    long long bytesSent_ = 0;
    long long totalSize_ = 0;
    long long socketProgress_ = 0;
    int lastPercent_ = -1;
    std::string outgoing_;     // written at the next wait or event pass
    std::string pendingReply_; // the start of a reply whose last line is still to come
    float deadline_ = 0;

    int security_ = 0;
    // While set, replies queue for exchange() instead of setting the flags.
    bool pairing_ = false;
    std::deque<Reply> replies_;
    bool replyQueued_ = false;
    bool secured_ = false;
    bool certificateRefused_ = false;
    // The login as written was refused (only looked at while it runs).
    bool legacyLogin_ = false;
    bool loginRefused_ = false;
    bool loginDone_ = false;
};

} // namespace corva
