// "corva list FOLDER": a folder's message list as the mailer shows it, through
// the folder's cache (the Outbox, and every folder with NoCache set, straight
// from the files), with the unread count written back to the folder's tags.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "app/Json.h"
#include "app/Table.h"
#include "app/Terminal.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "store/FolderCaches.h"
#include "store/clsMailer.h"
#include "store/modFolders.h"
#include "store/modTags.h"

#include <cstdio>
#include <iostream>
#include <string>

namespace corva::app {
namespace {

// The row's icon in the mailer, by priority, unread and replied.
std::string iconKey(const clsMessage& m) {
    bool unread = !m.Read;
    if (m.HighPriority) {
        if (unread && m.Replied) return "exclaimunreadreply";
        if (unread) return "exclaimunread";
        if (m.Replied) return "exclaimreply";
    } else {
        if (unread && m.Replied) return "unreadreply";
        if (unread) return "unread";
        if (m.Replied) return "reply";
    }
    return "blank";
}

constexpr const char* Usage = "corva list FOLDER [--unread] [--tabs|--json]";

enum class Form { Table, Tabs, Json };

class ListPrinter : public MailerListener, public CacheView {
public:
    ListPrinter(std::string folder, bool showTo, bool unreadOnly, Form form)
        : folder_(std::move(folder)), showTo_(showTo), unreadOnly_(unreadOnly), form_(form),
          table_(form == Form::Table ? Table(columns(), TableWidth()) : Table(columns())) {}
    long total = 0, unread = 0;

    void ShowStatus(const std::string&) override {}
    void ShowListProgress(const std::string&) override {}

    void ClearMessages() override {
        if (form_ == Form::Table) std::cout << table_.heading() << "\n";
    }
    void AddMessage(clsMessage& m, long, long) override {
        char size[32], colour[16];
        std::snprintf(size, sizeof size, "%.2f KB", static_cast<double>(m.Size));
        std::snprintf(colour, sizeof colour, "%06X", static_cast<unsigned>(m.Colour) & 0xFFFFFF);
        const std::string subjectCharset = headerCharset(m.Headers, "Subject");
        ++total;
        if (form_ == Form::Json) {
            std::cout << (total > 1 ? ",\n    " : "\n    ")
                      << JsonObject()
                             .text("state", iconKey(m))
                             .text("from", m.From, headerCharset(m.Headers, "From"))
                             .text("to", m.To_Email)
                             .text("subject", m.Subject, subjectCharset)
                             .text("received", m.ReceiveDate)
                             .text("sent", m.SendDate)
                             .number("size", static_cast<double>(m.Size))
                             .raw("colour", JsonQuote(RgbText(m.Colour)))
                             .text("file", m.Filename())
                             .str();
            return;
        }
        std::cout << table_.row({iconKey(m), terminalLine(showTo_ ? m.To_Email : m.From),
                                 terminalLine(m.Subject, subjectCharset),
                                 terminalLine(m.ReceiveDate), terminalLine(m.SendDate), size,
                                 colour, terminalLine(m.Filename())})
                  << "\n";
    }
    void FinishedAddingMessages(long unreadCount, long mostRecentUnread) override {
        unread = unreadCount;
        // What the window does at the end of a list: it repairs a drifted count.
        if (unreadOnly_) return;
        if (unreadCount > 0) {
            createunreadtag(folder_, static_cast<int>(unreadCount));
            CreateLastMessageTag(folder_, mostRecentUnread);
        } else {
            DeleteUnreadTag(folder_);
            DeleteLastMessageTag(folder_);
        }
    }

private:
    std::vector<TableColumn> columns() const {
        return {{"State", 18, true},   {showTo_ ? "To" : "From", 28, true},
                {"Subject", 40, true}, {"Received", 19, true},
                {"Sent", 19, true},    {"Size", 10, false},
                {"Colour", 6, false},  {"File", 24, true}};
    }

    std::string folder_;
    bool showTo_;
    bool unreadOnly_;
    Form form_;
    Table table_;
};

int run(CommandArgs& args) {
    const bool unreadFlag = args.flag("--unread");
    const bool tabs = args.flag("--tabs");
    const bool json = args.flag("--json");
    if (tabs && json) args.problem("--tabs and --json don't go together");
    if (auto status = args.refused(Usage, 1, 1)) return *status;
    const Form form = json ? Form::Json : tabs ? Form::Tabs : Form::Table;
    HeadlessSession session;
    std::string relative = removecount(ToSlashes(Trim(args.rest().front())));
    while (!relative.empty() && relative.front() == '/') relative.erase(0, 1);
    if (StartsWithNoCase(relative, "Folders/")) relative.erase(0, 8);
    std::string folder = addslash(ResolvePath(addslash(MessageFolder + relative)));
    if (relative.empty() || !FolderExists(folder))
        return RefuseWith("list", "no folder \"" + terminalLine(args.rest().front()) + "\" in " +
                                      terminalLine(MessageFolder) +
                                      " ('corva folders' lists them)");
    std::string name = relativefolder(folder);
    if (!name.empty()) name.pop_back();

    bool showTo = EqualsNoCase(name, OutboxFolder) || EqualsNoCase(name, SentItemsFolder);
    bool unreadOnly = unreadFlag || ShowUnreadOnly(folder);
    ListPrinter printer(folder, showTo, unreadOnly, form);
    clsMailer mailer;
    mailer.setListener(&printer);
    FolderCaches caches;
    if (json) std::cout << "{\"folder\": " << JsonText(name) << ", \"messages\": [";
    caches.populatelistview(mailer, &printer, folder, name, unreadOnly);

    if (json) {
        std::cout << (printer.total ? "\n  ]" : "]") << ", \"total\": " << printer.total
                  << ", \"unread\": " << printer.unread
                  << ", \"unreadOnly\": " << (unreadOnly ? "true" : "false") << "}\n";
        return 0;
    }
    if (tabs && Output().verbosity == Verbosity::Quiet) return 0;
    (tabs ? std::cerr : std::cout)
        << (printer.total == 0 ? std::string("No") : Str(printer.total))
        << (printer.total == 1 ? " message in " : " messages in ") << terminalLine(name) << ", "
        << printer.unread << " unread" << (unreadOnly ? " (only unread mail shown)" : "") << "\n";
    return 0;
}

const CommandRegistration registration({
    "list",
    Usage,
    "List a mail folder's messages as the mailer shows them",
    "FOLDER is a folder under the message folder, such as Inbox, \"Sent Items\" or\n"
    "SpamBayes/BayesOld, matched without regard to case. The list is read through\n"
    "the folder's cache.csv (the command writes nothing); each line shows the state\n"
    "(unread, reply, exclaim...), sender (recipient in Sent Items and the Outbox),\n"
    "subject, received and sent dates, size, the age colour and the file. --unread\n"
    "shows unread mail only, as does a folder set to show unread mail only.\n"
    "The table fits the terminal's width; --tabs writes only the rows, every field\n"
    "whole and separated by a tab, and the count to standard error. --json writes\n"
    "one object: \"folder\", \"messages\" (a list of {\"state\", \"from\", \"to\",\n"
    "\"subject\", \"received\", \"sent\", \"size\" (KB), \"colour\" (\"#RRGGBB\"), \"file\"}),\n"
    "\"total\", \"unread\" and \"unreadOnly\". A folder that does not exist gives exit\n"
    "status 2.",
    run,
});

} // namespace
} // namespace corva::app
