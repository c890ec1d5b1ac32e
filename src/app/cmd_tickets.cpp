// "corva tickets": the support tickets for scripts: list them, show one,
// make one from a message file, close one.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "message/clsMessage.h"
#include "tickets/clsCMSTickets.h"
#include "tickets/modCMS.h"
#include "tickets/modCMSMail.h"

#include <iostream>

namespace corva::app {
namespace {

constexpr const char* Usage = "corva tickets list | show N | new FILE.eml [--ack] | close N";

std::optional<long> ticketNumber(const std::string& word) {
    if (word.empty() || word.size() > 9 ||
        word.find_first_not_of("0123456789") != std::string::npos)
        return std::nullopt;
    return std::stol(word);
}

// Where a save published the ticket's page, or why it did not, since the
// log is the only other place that says so.
void reportPage(const clsCMSTicket& t) {
    const std::string page = t.WebPagePath();
    if (page.empty()) return;
    if (FolderExists(pathonly(page)))
        std::cout << "Page: " << terminalLine(page) << "\n";
    else
        std::cerr << "No page written: the Webpath folder " << terminalLine(pathonly(page))
                  << " does not exist\n";
}

void printTicket(const clsCMSTicket& t) {
    std::cout << "Ticket:     " << t.ticketnum << "\n"
              << "Status:     " << (t.closed ? "closed" : "open") << "\n"
              << "From:       " << terminalLine(t.ownername) << "\n"
              << "Email:      " << terminalLine(t.owneremail) << "\n"
              << "Subject:    " << terminalLine(t.desc) << "\n"
              << "Priority:   " << t.priority << "\n"
              << "Type:       " << terminalLine(t.type) << "\n"
              << "Category:   " << terminalLine(t.category) << "\n"
              << "Version:    " << terminalLine(t.version) << "\n"
              << "Interested: " << terminalLine(Join(t.interested, "; ")) << "\n";
    std::cout << "\n" << terminalText(t.bodytext) << "\n";
    if (!Trim(t.comment).empty()) std::cout << "\nComment:\n" << terminalText(t.comment) << "\n";
}

int run(CommandArgs& args) {
    const bool ack = args.flag("--ack");
    if (auto status = args.refused(Usage, 1, 2)) return *status;
    const auto& words = args.rest();
    const std::string what = words.front();
    const bool wantsArgument = what == "show" || what == "new" || what == "close";
    if (!(what == "list" || wantsArgument) || (words.size() == 2) != wantsArgument) {
        std::cerr << "Usage: " << Usage << "\n";
        return 2;
    }
    if (ack && what != "new") return RefuseWith("tickets", "--ack goes with new");
    std::optional<long> number;
    if (what == "show" || what == "close") {
        number = ticketNumber(words[1]);
        if (!number)
            return RefuseWith("tickets", "\"" + terminalLine(words[1]) + "\" is no ticket number");
    }

    HeadlessSession session;
    // Opening the settings makes the CMS folder; list and show write nothing.
    if (FileExists(CMSFolder() + "settings.ini")) WarnUnreadKeys(CMSSettings(), "CMS/settings.ini");
    if (what == "list") {
        clsCMSTickets tickets;
        tickets.LoadIndex();
        for (int i = 1; i <= tickets.TicketCount(); ++i) {
            const clsCMSTicket& t = tickets.cTicket(i);
            std::cout << t.ticketnum << "\t" << (t.closed ? "closed" : "open") << "\t" << t.priority
                      << "\t" << terminalLine(t.owneremail) << "\t" << terminalLine(t.desc) << "\n";
        }
        return 0;
    }
    if (what == "new") {
        clsMessage message;
        if (!ReadMessageFile(words[1], false, message)) return 1;
        clsCMSTicket ticket;
        ticket.LoadWithMessage(message, "");
        ticket.ticketnum =
            static_cast<int32_t>(CMSSettings().RetrieveSetting("LastTicket", 0).toLong() + 1);
        ticket.Save();
        if (ticket.isnew) {
            std::cerr << "Could not write " << TicketFilePath(ticket.ticketnum) << "\n";
            return 1;
        }
        std::cout << "Ticket " << ticket.ticketnum << ": " << terminalLine(ticket.desc) << "\n";
        reportPage(ticket);
        if (ack) {
            std::string spooled = SendAcknowledgement(ticket, session.sendMailWrapper());
            if (spooled.empty()) {
                std::cerr << "No acknowledgement was spooled: set up an account first\n";
                return 1;
            }
            std::cout << "Acknowledgement spooled: " << terminalLine(spooled) << "\n";
        }
        return 0;
    }
    clsCMSTicket ticket;
    if (!ticket.Load(*number))
        return RefuseWith("tickets", "there is no ticket " + Str(*number) +
                                         "; 'corva tickets list' shows them");
    if (what == "show") {
        printTicket(ticket);
        return 0;
    }
    ticket.closed = true;
    ticket.Save();
    std::cout << "Closed ticket " << ticket.ticketnum << "\n";
    reportPage(ticket);
    return 0;
}

const CommandRegistration registration({
    "tickets",
    Usage,
    "List, show, make or close support tickets",
    "Tickets live in the CMS folder under the filter folder: Tickets.txt lists\n"
    "them, Tickets/ticket_N.txt holds each record, Desc/ and Comments/ its texts.\n"
    "'list' prints one line a ticket, tab separated: number, open or closed,\n"
    "priority, owner's address, subject. 'show N' prints ticket N whole.\n"
    "'new FILE.eml' makes the next ticket from a message, as \"Open in CMS\" and\n"
    "\"Save and Exit\" do, and publishes it; with --ack the acknowledgement\n"
    "(ResponseInitial.txt, [ticket] and [version] filled in) goes into the Outbox.\n"
    "'close N' marks ticket N closed and publishes it again. Both print the\n"
    "page written (\"Page: PATH\"), or say on standard error that none was.\n"
    "Pages are written as WEBPATH + \"T_N.html\" from webtemplate.txt when the\n"
    "line WEBPATH,FOLDER/ is in CMS/settings.ini (keys in upper case, as in\n"
    "Corva.ini; end the folder with \"/\"). With CMSMODE set, every\n"
    "message fetched into the Inbox becomes a ticket and is acknowledged.\n"
    "list and show change nothing.",
    run,
});

} // namespace
} // namespace corva::app
