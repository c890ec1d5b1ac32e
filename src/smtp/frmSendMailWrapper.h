// The only road out for mail: messages are spooled as finished files into the
// Outbox, and an upload run sends them account by account, one connection per
// account, moving each sent file to Sent Items.
#pragma once

#include "core/Account.h"
#include "message/clsMessage.h"
#include "platform/Platform.h"
#include "smtp/frmSendMail.h"

#include <memory>
#include <string>
#include <vector>

namespace corva {

// The wrapper's events, for the scanner window or a command.
class SendMailWrapperListener {
public:
    virtual ~SendMailWrapperListener() = default;
    virtual void Progress(const std::string& text) { (void)text; }
    virtual void Failed(const std::string& text) { (void)text; }
    virtual void NoMailToSend() {}
    virtual void SendingFinished() {}
    // One spooled file went out (its copy now in Sent Items), or failed and stays.
    virtual void messageSent(const std::string& file, const clsMessage& message) {
        (void)file;
        (void)message;
    }
    virtual void messageFailed(const std::string& file, const std::string& explanation) {
        (void)file;
        (void)explanation;
    }
};

class frmSendMailWrapper : private SendMailListener {
public:
    // Account value meaning "no further account".
    static constexpr int NoAccount = 65535;
    static constexpr int AccountCount = Account::Count;

    frmSendMailWrapper();
    ~frmSendMailWrapper() override;
    frmSendMailWrapper(const frmSendMailWrapper&) = delete;
    frmSendMailWrapper& operator=(const frmSendMailWrapper&) = delete;

    void setListener(SendMailWrapperListener* listener) { listener_ = listener; }
    SendMailWrapperListener* listener() const { return listener_; }

    // Writes the message as a finished file into the Outbox. Empty strings use
    // the account's own identity. The file's path, or "" when nothing was spooled.
    std::string SpoolMessage(clsMessage& message, const std::string& FromAddress = "",
                             const std::string& FromName = "");
    std::string SpoolMessage(clsMessage&& message, const std::string& FromAddress = "",
                             const std::string& FromName = "") {
        return SpoolMessage(message, FromAddress, FromName);
    }
    // Fills the engine from the message, then spools it or sends it at once.
    bool Sendmail(clsMessage& message, bool Spool, const std::string& FromAddress,
                  const std::string& FromName, std::string* spooledPath = nullptr);

    // Begins an upload run of everything in the Outbox. The run goes on from
    // timer ticks; SendingFinished or NoMailToSend tells that it is over.
    void UploadSpooledMail();
    // Ends a run at once; unsent files stay in the Outbox.
    void CancelSend();
    bool Uploading() const { return uploading_; }

    // The pause between two messages of a run (250 ms).
    void setSendInterval(int milliseconds) { TimerSendNext_->setInterval(milliseconds); }
    frmSendMail& engine() { return poSendMail_; }

    // Splits "a <x@y>; b@z" into an address list and a name list, both ";"
    // separated. A nameless entry takes the address list so far as its name.
    static void splitaddresses(const std::string& text, std::string& addresses, std::string& names);
    static std::string outboxfolder();
    static std::string sentitemsfolder();

private:
    // Engine events.
    void SendSuccessful() override;
    void SendFailed(const std::string& Explanation) override;
    void Status(const std::string& Status) override;
    void Progress(int PercentComplete) override;

    // NN_outbound_K.eml in the Outbox with the first free K, reserved on disk
    // so that a second spool at the same moment takes the next number.
    static std::string reserveoutboxname(int account);
    bool connect(int account);
    void disconnect();
    void nextserver(int startAccount);
    void findnextaccount();
    bool accounthasfiles(int account) const;
    void TimerSendNext_Tick();
    void SendSpooledMessage(clsMessage& message);
    void raiseProgress(const std::string& text);

    SendMailWrapperListener* listener_ = nullptr;
    frmSendMail poSendMail_;
    std::unique_ptr<platform::Timer> TimerSendNext_;

    std::string server_, user_, password_;
    bool connected_ = false;
    std::vector<std::string> files_;
    std::shared_ptr<clsMessage> current_; // the file in flight, as read for sending
    bool uploading_ = false;
    bool sending_ = false;
    int index_ = 0;
    int account_ = 0;
};

} // namespace corva
