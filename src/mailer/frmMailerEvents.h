// What the mailer asks of the scanner and the cycle: every transfer ends in
// frmMain's checkmail, the rest shows the scanner's windows or quits.
#pragma once

#include <string>

namespace corva {

class frmMailerEvents {
public:
    virtual ~frmMailerEvents() = default;
    virtual void Scan() {}
    virtual void ScanSpecific(int account) { (void)account; }
    virtual void ScanDel() {}
    virtual void ScanDelSpecific(int account) { (void)account; }
    virtual void DownloadMail() {}
    virtual void DownloadMailNoUpload() {}
    virtual void DLWithClear() {}
    virtual void DLFrom(int account) { (void)account; }
    virtual void UpDownWithClear() {}
    virtual void UpDownWithClearFrom(int account) { (void)account; }
    virtual void SendRcvDel() {}
    virtual void SendRcvDelSpecific(int account) { (void)account; }
    virtual void UploadMail() {}
    // The flashing stop button: the transfer under way ends.
    virtual void StopTransfer() {}
    virtual void QuitProg() {}
    virtual void ShowSettings() {}
    virtual void ShowScanner() {}
    virtual void ShowTKL() {}
    // The rule editor on the local or server set; with a message file, a
    // filter is proposed from that message.
    virtual void EditFilters(bool isLocal, const std::string& fromPath) {
        (void)isLocal;
        (void)fromPath;
    }
    virtual void ShowTraining() {}
    // The bounce of the list's context menu, with the message's file.
    virtual void BounceMessage(const std::string& path) { (void)path; }
    // A thank-you for a suggestion, to go out through the Outbox.
    virtual void SpoolReply(int account, const std::string& to, const std::string& subject,
                            const std::string& body) {
        (void)account, (void)to, (void)subject, (void)body;
    }
};

} // namespace corva
