#include "cycle/MailerCycleLink.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "cycle/frmMain.h"
#include "cycle/modScannerCommands.h"
#include "localise/modLanguages.h"
#include "store/modMessageFiles.h"
#include "store/modTags.h"

namespace corva {

void MailerCycleLink::Scan() {
    main_.fMailer_Scan();
}
void MailerCycleLink::ScanSpecific(int account) {
    main_.fMailer_ScanSpecific(account);
}
void MailerCycleLink::ScanDel() {
    main_.fMailer_ScanDel();
}
void MailerCycleLink::ScanDelSpecific(int account) {
    main_.fMailer_ScanDelSpecific(account);
}
void MailerCycleLink::DownloadMail() {
    main_.fMailer_DownloadMail();
}
void MailerCycleLink::DownloadMailNoUpload() {
    main_.fMailer_DownloadMailNoUpload();
}
void MailerCycleLink::DLWithClear() {
    main_.fMailer_DLWithClear();
}
void MailerCycleLink::DLFrom(int account) {
    main_.fMailer_DLFrom(account);
}
void MailerCycleLink::UpDownWithClear() {
    main_.fMailer_UpDownWithClear();
}
void MailerCycleLink::UpDownWithClearFrom(int account) {
    main_.fMailer_UpDownWithClearFrom(account);
}
void MailerCycleLink::SendRcvDel() {
    main_.fMailer_SendRcvDel();
}
void MailerCycleLink::SendRcvDelSpecific(int account) {
    main_.fMailer_SendRcvDelSpecific(account);
}
void MailerCycleLink::UploadMail() {
    main_.UploadMail();
}
void MailerCycleLink::StopTransfer() {
    main_.cancelcheck();
}
void MailerCycleLink::QuitProg() {
    main_.View().QuitProgram();
}
void MailerCycleLink::ShowSettings() {
    main_.showsettings();
}
void MailerCycleLink::ShowScanner() {
    main_.View().ShowScanner();
}
void MailerCycleLink::ShowTKL() {
    main_.starttkl();
}
void MailerCycleLink::EditFilters(bool isLocal, const std::string& fromPath) {
    if (fromPath.empty()) {
        main_.View().ShowRuleEditor(isLocal, nullptr, "");
        return;
    }
    // The subject is all the proposal reads.
    if (auto message = readmessageheader(fromPath))
        main_.View().ShowRuleEditor(isLocal, message.get(), "");
}
void MailerCycleLink::ShowTraining() {
    main_.View().ShowTrainingWindow();
}

void MailerCycleLink::BounceMessage(const std::string& path) {
    guarded("BounceMessage", "frmMailer", [&] {
        auto msg = readfullmessage(path);
        if (msg->Filename().empty()) return;
        auto& prompts = platform::current().prompts();
        if (!SpoolBounce(main_, *msg)) {
            prompts.messageBox(
                gettranslation("Couldn't bounce message - can't determine the sender's email."),
                platform::Buttons::Ok, platform::Icon::Exclamation, "Corva");
            return;
        }
        prompts.messageBox(
            gettranslation("Selected messages have been bounced. If you change your mind, delete "
                           "the outbound messages before you do another 'send/receive mail'"),
            platform::Buttons::Ok, platform::Icon::Information, "Corva");
    });
}

void MailerCycleLink::SpoolReply(int account, const std::string& to, const std::string& subject,
                                 const std::string& body) {
    guarded("SpoolReply", "frmMailer", [&] {
        clsMessage out;
        out.To_Email = to;
        out.Subject = subject;
        out.MessageBody = body;
        out.FromAccount = static_cast<int16_t>(account);
        if (main_.SendMailWrapper().SpoolMessage(out).empty()) return;
        addtounreadtag(addslash(MessageFolder) + OutboxFolder, 0);
    });
}

} // namespace corva
