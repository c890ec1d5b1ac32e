// The tickets the list shows, in the order of the index Tickets.txt.
#pragma once

#include "tickets/clsCMSTicket.h"

#include <vector>

namespace corva {

class clsCMSTickets {
public:
    int TicketCount() const { return static_cast<int>(tickets_.size()); }
    // From 1, as the list counts; out of range throws.
    clsCMSTicket& cTicket(int index) { return tickets_.at(static_cast<size_t>(index - 1)); }
    const clsCMSTicket& cTicket(int index) const {
        return tickets_.at(static_cast<size_t>(index - 1));
    }
    void AddTicket(const clsCMSTicket& ticket) { tickets_.push_back(ticket); }
    void Clear() { tickets_.clear(); }
    // Every ticket the index names, in its order; a line whose file can't be
    // read is logged and left out.
    void LoadIndex();

private:
    std::vector<clsCMSTicket> tickets_;
};

} // namespace corva
