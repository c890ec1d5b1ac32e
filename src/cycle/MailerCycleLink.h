// The mailer's events as frmMain's commands: every transfer becomes a cycle
// request, and the rest reaches the scanner's window through frmMainView.
#pragma once

#include "mailer/frmMailerEvents.h"

namespace corva {

class frmMain;

class MailerCycleLink : public frmMailerEvents {
public:
    explicit MailerCycleLink(frmMain& main) : main_(main) {}

    void Scan() override;
    void ScanSpecific(int account) override;
    void ScanDel() override;
    void ScanDelSpecific(int account) override;
    void DownloadMail() override;
    void DownloadMailNoUpload() override;
    void DLWithClear() override;
    void DLFrom(int account) override;
    void UpDownWithClear() override;
    void UpDownWithClearFrom(int account) override;
    void SendRcvDel() override;
    void SendRcvDelSpecific(int account) override;
    void UploadMail() override;
    void StopTransfer() override;
    void QuitProg() override;
    void ShowSettings() override;
    void ShowScanner() override;
    void ShowTKL() override;
    void EditFilters(bool isLocal, const std::string& fromPath) override;
    void ShowTraining() override;
    void BounceMessage(const std::string& path) override;
    void SpoolReply(int account, const std::string& to, const std::string& subject,
                    const std::string& body) override;

private:
    frmMain& main_;
};

} // namespace corva
