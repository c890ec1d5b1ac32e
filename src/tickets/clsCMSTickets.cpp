#include "tickets/clsCMSTickets.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"
#include "tickets/modCMS.h"

namespace corva {

void clsCMSTickets::LoadIndex() {
    guarded("LoadIndex", "clsCMSTickets", [&] {
        tickets_.clear();
        for (const std::string& line : SplitLines(LoadTextFile(TicketIndexPath()))) {
            // The index names files in Tickets; a name that leads elsewhere is not one.
            if (line.empty() || line.find('/') != std::string::npos ||
                line.find('\\') != std::string::npos)
                continue;
            clsCMSTicket ticket;
            if (ticket.Loadfile(CMSFolder() + "Tickets/" + line))
                tickets_.push_back(std::move(ticket));
            else
                LogAction("Cannot read ticket " + line);
        }
    });
}

} // namespace corva
