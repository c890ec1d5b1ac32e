// Mail that the tickets send and take: the acknowledgement to a ticket's
// owner, spooled into the Outbox, and retrieved mail turned into tickets.
#pragma once

#include <string>

namespace corva {

class clsCMSTicket;
class clsMessage;
class frmSendMailWrapper;

// The acknowledgement of a ticket: ResponseInitial.txt with [ticket] and
// [version] filled in, the query and the response. Spooled from the default
// sending account; the Outbox file's path, or "" when nothing was spooled
// (no account: the operator is told so).
std::string SendAcknowledgement(const clsCMSTicket& ticket, frmSendMailWrapper& wrapper);
// The message an acknowledgement spools, without spooling it.
clsMessage AcknowledgementMessage(const clsCMSTicket& ticket);

// In CMS mode, a message the cycle stored in the Inbox becomes a new ticket
// and its owner gets the acknowledgement. Mail from the ticket desk's own
// address is left alone, so two desks never answer each other for ever.
// The ticket's number, or 0 when none was made.
long TicketFromRetrievedMail(const clsMessage& message, frmSendMailWrapper& wrapper);

} // namespace corva
