// The ticket list ("Ticket List") as a logic object: the tickets of the
// index as rows, sorting by a column, editing one, publishing a selection.
#pragma once

#include "tickets/clsCMSTickets.h"

#include <string>
#include <vector>

namespace corva {

class frmCMSTicketView;
class frmSendMailWrapper;

struct CMSTicketRow {
    std::string number, desc, priority, status, date;
};

class frmCMSTicketListView {
public:
    virtual ~frmCMSTicketListView() = default;
    // The rows changed wholesale (loaded or sorted).
    virtual void ShowRows() {}
    virtual void RowChanged(int row) { (void)row; }
    virtual void SetSortIndicator(int column, bool ascending) {
        (void)column;
        (void)ascending;
    }
};

class frmCMSTicketList {
public:
    static const std::vector<std::string>& Columns(); // "Number" ... "Date"

    void setView(frmCMSTicketListView* view) { view_ = view ? view : &noView_; }
    // Reads the index and every ticket it names.
    void Load();
    int RowCount() const { return tickets_.TicketCount(); }
    CMSTicketRow Row(int row) const; // rows from 0
    clsCMSTicket& Ticket(int row) { return tickets_.cTicket(row + 1); }
    // A click on a column heading: sorts by it, the order flipping each time.
    void SortBy(int column);
    // Double click: edits the row's ticket and refreshes its row.
    void Edit(int row, frmCMSTicketView& ticketView, frmSendMailWrapper& wrapper);
    // "Export Selected To Web".
    void ExportSelected(const std::vector<int>& rows) const;

private:
    clsCMSTickets tickets_;
    bool ascending_ = false;
    frmCMSTicketListView noView_;
    frmCMSTicketListView* view_ = &noView_;
};

} // namespace corva
