// The ticket files: a record read, written back and read again to the same
// fields, and the index Tickets.txt naming records.
#include "FuzzSupport.h"

#include "core/Globals.h"
#include "tickets/clsCMSTickets.h"
#include "tickets/modCMS.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    FilterFolder = fuzz::folder();
    MakeCMSFolders();
    auto pieces = fuzz::split(fuzz::asText(data, size), std::string_view("\0\0", 2), 2);
    clsCMSTicket ticket;
    ticket.Loadfile(fuzz::writeFile("CMS/Tickets/ticket_1.txt", pieces[0]));
    // What was read is written as it reads back, unless a value holds a line end.
    clsCMSTicket again;
    again.Loadfile(fuzz::writeFile("CMS/Tickets/ticket_2.txt", ticket.RecordText()));
    if (again.ticketnum != ticket.ticketnum || again.priority != ticket.priority ||
        again.closed != ticket.closed)
        std::abort();
    if (pieces.size() > 1) {
        fuzz::writeFile("CMS/Tickets.txt", pieces[1]);
        clsCMSTickets tickets;
        tickets.LoadIndex();
    }
    return 0;
}
