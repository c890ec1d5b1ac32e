#include "tickets/frmCMSTicket.h"

#include "core/ErrorHandler.h"
#include "core/Strings.h"
#include "localise/modLanguages.h"
#include "platform/Platform.h"
#include "tickets/modCMS.h"
#include "tickets/modCMSMail.h"

namespace corva {

const std::vector<std::string>& frmCMSTicket::PriorityEntries() {
    static const std::vector<std::string> entries{"1 - High", "2", "3", "4",      "5 - Medium",
                                                  "6",        "7", "8", "9 - Low"};
    return entries;
}
const std::vector<std::string>& frmCMSTicket::TypeEntries() {
    static const std::vector<std::string> entries{"Bug", "Feature Request", "Help Request", "N/A"};
    return entries;
}
const std::vector<std::string>& frmCMSTicket::CategoryEntries() {
    static const std::vector<std::string> entries{"Tessig", "Orrin",  "Palisk",  "TKL",
                                                  "Mirrel", "Fendle", "Drumlet", "Corva"};
    return entries;
}

CMSTicketFields frmCMSTicket::FieldsOf(const clsCMSTicket& ticket) {
    CMSTicketFields f;
    f.priorityIndex = ticket.priority - 1;
    f.type = ticket.type;
    f.category = ticket.category;
    f.email = ticket.owneremail;
    f.version = ticket.version;
    f.comment = ticket.comment;
    f.date = ticket.date;
    f.subject = ticket.desc;
    f.from = ticket.ownername;
    f.details = ticket.bodytext;
    f.users = ticket.interested;
    f.notify = ticket.notify;
    f.closed = ticket.closed;
    f.ticketnum = ticket.ticketnum;
    return f;
}

void frmCMSTicket::ReadBack(const CMSTicketFields& f, clsCMSTicket& ticket) {
    ticket.comment = Trim(f.comment);
    ticket.bodytext = Trim(f.details);
    ticket.closed = f.closed;
    ticket.notify = f.notify;
    ticket.interested = f.users;
    ticket.priority = static_cast<int16_t>(f.priorityIndex + 1);
    ticket.type = f.type;
    ticket.category = f.category;
    ticket.owneremail = f.email;
    ticket.version = f.version;
    ticket.date = f.date;
    ticket.desc = f.subject;
    ticket.ownername = f.from;
}

bool frmCMSTicket::Edit(clsCMSTicket& ticket, frmCMSTicketView& view, frmSendMailWrapper& wrapper) {
    return guardedValue("Edit", "frmCMSTicket", false, [&] {
        if (ticket.ticketnum == 0) {
            ticket.isnew = true;
            ticket.ticketnum =
                static_cast<int32_t>(CMSSettings().RetrieveSetting("LastTicket", 0).toLong() + 1);
        }
        CMSTicketFields fields = FieldsOf(ticket);
        if (!view.ShowModal(fields)) return false;
        const bool acknowledge =
            platform::current().prompts().messageBox(
                gettranslation("Send acknowledgement?"), platform::Buttons::YesNo,
                platform::Icon::Question) == platform::Answer::Yes;
        ReadBack(fields, ticket);
        ticket.Save();
        if (acknowledge) SendAcknowledgement(ticket, wrapper);
        return true;
    });
}

} // namespace corva
