// The ticket window ("Customer Management System") as a logic object: the
// fields it shows, filled from a ticket and read back into it, and Edit's
// steps. The Qt window implements frmCMSTicketView.
#pragma once

#include "tickets/clsCMSTicket.h"

#include <string>
#include <vector>

namespace corva {

class frmSendMailWrapper;

struct CMSTicketFields {
    int priorityIndex = 4; // priority less 1
    std::string type;
    std::string category;
    std::string email;              // txtEmail
    std::string version;            // txtVersion
    std::string comment;            // txtComment
    std::string date;               // txtDate
    std::string subject;            // txtSubject
    std::string from;               // txtFrom
    std::string details;            // TB1
    std::vector<std::string> users; // lstUsers
    bool notify = false;            // chkNotify
    bool closed = false;            // chkClosed
    long ticketnum = 0;             // shown in the caption
};

class frmCMSTicketView {
public:
    virtual ~frmCMSTicketView() = default;
    // Shows the fields modally. True when the operator chose "Save and Exit",
    // with the fields as left; false for "Exit without Saving" or a close.
    virtual bool ShowModal(CMSTicketFields& fields) = 0;
};

class frmCMSTicket {
public:
    static const std::vector<std::string>& PriorityEntries();
    static const std::vector<std::string>& TypeEntries();
    static const std::vector<std::string>& CategoryEntries();

    static CMSTicketFields FieldsOf(const clsCMSTicket& ticket);
    // Comment and details trimmed, priority from the list index.
    static void ReadBack(const CMSTicketFields& fields, clsCMSTicket& ticket);

    // Numbers a ticket that has none, shows it, and on "Save and Exit" asks
    // "Send acknowledgement?", saves (which publishes) and on Yes spools the
    // acknowledgement. True when the ticket was saved.
    static bool Edit(clsCMSTicket& ticket, frmCMSTicketView& view, frmSendMailWrapper& wrapper);
};

} // namespace corva
