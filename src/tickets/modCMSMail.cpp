#include "tickets/modCMSMail.h"

#include "core/Account.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "core/modSubs.h"
#include "localise/modLanguages.h"
#include "message/clsMessage.h"
#include "platform/Platform.h"
#include "smtp/frmSendMailWrapper.h"
#include "tickets/clsCMSTicket.h"
#include "tickets/modCMS.h"

namespace corva {
namespace {

constexpr const char* Module = "modCMSMail";

bool accountCanSend(int account) {
    const Account settings(account);
    return !settings.smtpServer().empty() || !settings.replyAddress().empty();
}

} // namespace

clsMessage AcknowledgementMessage(const clsCMSTicket& ticket) {
    clsMessage message;
    guarded("AcknowledgementMessage", Module, [&] {
        std::string text = LoadTextFile(CMSTemplatePath("ResponseInitial.txt"));
        text = Replace(text, "[ticket]", Str(ticket.ticketnum));
        text = Replace(text, "[version]", ticket.version);
        message.MessageBody = text + "\r\n\r\nYour Query: \r\n" + ticket.bodytext +
                              "\r\n\r\nResponse: " + ticket.comment + "\r\n";
        message.Subject = "Re: " + ticket.desc;
        message.To_Email = ticket.owneremail;
        message.FromAccount = static_cast<int16_t>(defaultaccount());
        const Account account(message.FromAccount);
        message.From = CMSReturnEmail();
        std::string sender = CMSSettings().RetrieveSetting("SenderName", "").toText();
        message.ReplyTo = sender.empty() ? account.displayName() : sender;
        message.ReturnPath = message.ReplyTo;
    });
    return message;
}

std::string SendAcknowledgement(const clsCMSTicket& ticket, frmSendMailWrapper& wrapper) {
    return guardedValue("SendAcknowledgement", Module, std::string(), [&] {
        clsMessage message = AcknowledgementMessage(ticket);
        if (!accountCanSend(message.FromAccount)) {
            platform::current().prompts().messageBox(
                gettranslation("Please set up an email account before using this feature"));
            return std::string();
        }
        // Spooled with the account's own identity, as every producer does:
        // ReturnEmail and the sender name stay in the message's fields only.
        return wrapper.SpoolMessage(message, "", "");
    });
}

long TicketFromRetrievedMail(const clsMessage& message, frmSendMailWrapper& wrapper) {
    return guardedValue("TicketFromRetrievedMail", Module, 0L, [&]() -> long {
        if (!CMSMode()) return 0;
        const std::string folder = ToSlashes(message.DestFolder);
        if (!folder.empty() && !EqualsNoCase(folder, InboxFolder)) return 0;
        const std::string sender = extractemail(message.From);
        if (sender.empty() || EqualsNoCase(sender, CMSReturnEmail())) return 0;
        clsCMSTicket ticket;
        ticket.LoadWithMessage(message, "");
        ticket.ticketnum =
            static_cast<int32_t>(CMSSettings().RetrieveSetting("LastTicket", 0).toLong() + 1);
        ticket.Save();
        if (ticket.isnew) return 0; // the record could not be written
        LogAction("Ticket " + Str(ticket.ticketnum) + " made from \"" + message.Subject + "\"");
        SendAcknowledgement(ticket, wrapper);
        return ticket.ticketnum;
    });
}

} // namespace corva
