#include "tickets/frmCMSTicketList.h"

#include "core/ErrorHandler.h"
#include "core/Strings.h"
#include "tickets/frmCMSTicket.h"

#include <algorithm>

namespace corva {
namespace {
constexpr const char* Module = "frmCMSTicketList";
}

const std::vector<std::string>& frmCMSTicketList::Columns() {
    static const std::vector<std::string> columns{"Number", "Desc", "Priority", "Status", "Date"};
    return columns;
}

void frmCMSTicketList::Load() {
    guarded("Form_Load", Module, [&] { tickets_.LoadIndex(); });
    view_->ShowRows();
}

CMSTicketRow frmCMSTicketList::Row(int row) const {
    const clsCMSTicket& t = tickets_.cTicket(row + 1);
    return {Str(t.ticketnum), t.desc, Str(t.priority), t.closed ? "closed" : "open", t.date};
}

void frmCMSTicketList::SortBy(int column) {
    guarded("lvTickets_ColumnClick", Module, [&] {
        ascending_ = !ascending_;
        std::vector<clsCMSTicket> all;
        for (int i = 1; i <= tickets_.TicketCount(); ++i) all.push_back(tickets_.cTicket(i));
        // Numbers sort as numbers, so ticket 10 comes after ticket 9.
        auto key = [column](const clsCMSTicket& t) -> std::pair<long, std::string> {
            switch (column) {
            case 0:
                return {t.ticketnum, ""};
            case 1:
                return {0, LCase(t.desc)};
            case 2:
                return {t.priority, ""};
            case 3:
                return {t.closed ? 1 : 0, ""};
            default:
                return {0, t.date};
            }
        };
        std::stable_sort(all.begin(), all.end(), [&](const auto& a, const auto& b) {
            return ascending_ ? key(a) < key(b) : key(b) < key(a);
        });
        tickets_.Clear();
        for (const auto& t : all) tickets_.AddTicket(t);
        view_->SetSortIndicator(column, ascending_);
        view_->ShowRows();
    });
}

void frmCMSTicketList::Edit(int row, frmCMSTicketView& ticketView, frmSendMailWrapper& wrapper) {
    if (row < 0 || row >= RowCount()) return;
    if (frmCMSTicket::Edit(Ticket(row), ticketView, wrapper)) view_->RowChanged(row);
}

void frmCMSTicketList::ExportSelected(const std::vector<int>& rows) const {
    for (int row : rows)
        if (row >= 0 && row < RowCount()) tickets_.cTicket(row + 1).PublishToWeb();
}

} // namespace corva
