// The SMTP engine: holds one outgoing message as properties, writes it to a
// spool file or speaks SMTP over one socket, and reports through its listener.
#pragma once

#include "platform/Platform.h"
#include "smtp/MailComposer.h"
#include "smtp/SmtpSession.h"

#include <cstdint>
#include <memory>
#include <string>
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

class frmSendMail : public platform::SocketListener, private SmtpLink {
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
    int32_t EncodeType() const { return mail_.encodeType; }
    void setEncodeType(int32_t type);
    bool UseAuthentication() const { return useAuthentication_; }
    void setUseAuthentication(bool on);
    const std::string& Username() const { return username_; }
    void setUsername(const std::string& user) { username_ = user; }
    const std::string& Password() const { return password_; }
    void setPassword(const std::string& password) { password_ = password; }
    bool PersistentSettings() const { return persistentSettings_; }
    void setPersistentSettings(bool on);
    const std::string& From() const { return mail_.from; }
    void setFrom(const std::string& from) { mail_.from = from; }
    const std::string& FromDisplayName() const { return mail_.fromDisplayName; }
    void setFromDisplayName(const std::string& name) { mail_.fromDisplayName = name; }
    // List properties read back joined with the delimiter.
    std::string Recipient() const { return joinList(mail_.recipients); }
    void setRecipient(const std::string& list) { mail_.recipients = splitList(list); }
    std::string RecipientDisplayName() const { return joinList(mail_.recipientNames); }
    void setRecipientDisplayName(const std::string& list) {
        mail_.recipientNames = splitList(list);
    }
    std::string CcRecipient() const { return joinList(mail_.ccRecipients); }
    void setCcRecipient(const std::string& list) { mail_.ccRecipients = splitList(list); }
    std::string CcDisplayName() const { return joinList(mail_.ccNames); }
    void setCcDisplayName(const std::string& list) { mail_.ccNames = splitList(list); }
    std::string BccRecipient() const { return joinList(mail_.bccRecipients); }
    void setBccRecipient(const std::string& list) { mail_.bccRecipients = splitList(list); }
    const std::string& ReplyToAddress() const { return mail_.replyTo; }
    void setReplyToAddress(const std::string& address) { mail_.replyTo = address; }
    const std::string& Subject() const { return mail_.subject; }
    void setSubject(const std::string& subject) { mail_.subject = subject; }
    const std::string& Message() const { return mail_.message; }
    // Runs FormatMail on the text, then notes whether it holds 8-bit bytes.
    void setMessage(const std::string& text);
    std::string Attachment() const { return joinList(mail_.attachments); }
    void setAttachment(const std::string& list);
    bool AsHTML() const { return mail_.asHTML; }
    void setAsHTML(bool on) { mail_.asHTML = on; }
    const std::string& ContentBase() const { return mail_.contentBase; }
    void setContentBase(const std::string& base);
    int32_t Priority() const { return mail_.priority; }
    void setPriority(int32_t priority);
    bool Receipt() const { return mail_.receipt; }
    void setReceipt(bool on) { mail_.receipt = on; }
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
    std::string FormatMail(const std::string& text) const { return MailComposer::FormatMail(text); }
    // The registered content type of a file's extension, else the given one.
    std::string GetContentType(const std::string& FileName, const std::string& ContentType) const {
        return MailComposer::contentType(FileName, ContentType);
    }
    void Shutdown() {}
    std::string GetIPHost() const;
    std::string GetIPAddress(const std::string& host = "") const;

    // ---- Encoders (the composer's) ----
    static std::string encodebase64byte(const std::string& bytes) {
        return MailComposer::encodebase64byte(bytes);
    }
    static std::string encodebase64string(const std::string& text) {
        return MailComposer::encodebase64byte(text);
    }
    static std::string decodebase64string(const std::string& text) {
        return MailComposer::decodebase64string(text);
    }
    static std::string uuencodestring(const std::string& bytes) {
        return MailComposer::uuencodestring(bytes);
    }
    static std::string timeZoneText(int biasMinutes) {
        return MailComposer::timeZoneText(biasMinutes);
    }

    // The guessed size of the transfer, for the percentage.
    long long estimatemailsize() const;
    // The errors gathered since the last failure, in the order they came.
    const std::vector<std::string>& Errors() const { return errors_; }
    bool Aborted() const { return aborted_; }
    // 0 plain, 1 TLS from the first byte, 2 STARTTLS (Account::Security);
    // Initialise reads it from SMTPSECURITY.
    int Security() const { return security_; }
    void setSecurity(int security) { security_ = security; }
    static std::vector<std::string> offeredMechanisms(const std::string& ehloReply) {
        return SmtpSession::offeredMechanisms(ehloReply);
    }

private:
    // Socket events.
    void socketConnected() override;
    void socketClosed() override;
    void socketDataArrival(const std::string& data) override;
    void socketError(int number, const std::string& description) override;
    void socketSendProgress(long long bytesSent, long long bytesRemaining) override;
    void socketSecured() override;

    class Output;
    friend class Output;

    // What the session asks of the engine.
    void send(const std::string& bytes) override { sendText(bytes); }
    bool wait(const std::function<bool()>& done, int seconds) override;
    bool aborted() const override { return aborted_; }
    void status(const std::string& text) override { raiseStatus(text); }
    // The connection up to a logged-in session through the paired dialogue.
    bool sessionConnect();

    void onReply(int code, const std::string& whole, const std::string& text);
    void onAuthChallenge(const std::string& text);

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
    bool useAuthentication_ = false;
    std::string username_, password_;
    bool persistentSettings_ = false;
    long long attachmentBytes_ = 0;
    long long attachmentNameLengths_ = 0;
    char delimiter_ = ';';
    MailComposer mail_;

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
    bool disconnecting_ = false;
    long long bytesSent_ = 0;
    long long totalSize_ = 0;
    long long socketProgress_ = 0;
    int lastPercent_ = -1;
    std::string outgoing_; // written at the next wait or event pass
    ReplyFramer framer_;
    float deadline_ = 0;

    int security_ = 0;
    SmtpSession session_{*sckMail_, *this};
    // The login as written was refused (only looked at while it runs).
    bool legacyLogin_ = false;
    bool loginRefused_ = false;
    bool loginDone_ = false;
};

} // namespace corva
