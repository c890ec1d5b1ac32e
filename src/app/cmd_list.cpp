// "corva list FOLDER": a folder's message list as the mailer shows it, through
// the folder's cache (the Outbox, and every folder with NoCache set, straight
// from the files), with the unread count written back to the folder's tags.
#include "app/Command.h"
#include "app/HeadlessSession.h"
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

class ListPrinter : public MailerListener, public CacheView {
public:
    ListPrinter(std::string folder, bool showTo, bool unreadOnly)
        : folder_(std::move(folder)), showTo_(showTo), unreadOnly_(unreadOnly) {}
    long total = 0, unread = 0;

    void ShowStatus(const std::string&) override {}
    void ShowListProgress(const std::string&) override {}

    void ClearMessages() override {
        std::cout << "State\t" << (showTo_ ? "To" : "From")
                  << "\tSubject\tReceived\tSent\tSize\tColour\tFile\n";
    }
    void AddMessage(clsMessage& m, long, long) override {
        char size[32], colour[16];
        std::snprintf(size, sizeof size, "%.2f KB", static_cast<double>(m.Size));
        std::snprintf(colour, sizeof colour, "%06X", static_cast<unsigned>(m.Colour) & 0xFFFFFF);
        std::cout << iconKey(m) << "\t" << terminalLine(showTo_ ? m.To_Email : m.From) << "\t"
                  << terminalLine(m.Subject, headerCharset(m.Headers, "Subject")) << "\t"
                  << terminalLine(m.ReceiveDate) << "\t" << terminalLine(m.SendDate) << "\t" << size
                  << "\t" << colour << "\t" << terminalLine(m.Filename()) << "\n";
        ++total;
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
    std::string folder_;
    bool showTo_;
    bool unreadOnly_;
};

int run(CommandArgs& args) {
    bool unreadFlag = args.flag("--unread");
    auto unknown = args.unknownOptions();
    if (!unknown.empty() || args.rest().size() != 1) {
        for (const auto& u : unknown) std::cerr << "Unknown option: " << u << "\n";
        std::cerr << "Usage: corva list FOLDER [--unread]\n";
        return 2;
    }
    HeadlessSession session;
    std::string relative = removecount(ToSlashes(Trim(args.rest().front())));
    while (!relative.empty() && relative.front() == '/') relative.erase(0, 1);
    if (StartsWithNoCase(relative, "Folders/")) relative.erase(0, 8);
    std::string folder = addslash(ResolvePath(addslash(MessageFolder + relative)));
    if (relative.empty() || !FolderExists(folder)) {
        std::cerr << "No folder \"" << args.rest().front() << "\" in " << MessageFolder << "\n";
        return 1;
    }
    std::string name = relativefolder(folder);
    if (!name.empty()) name.pop_back();

    bool showTo = EqualsNoCase(name, OutboxFolder) || EqualsNoCase(name, SentItemsFolder);
    bool unreadOnly = unreadFlag || ShowUnreadOnly(folder);
    ListPrinter printer(folder, showTo, unreadOnly);
    clsMailer mailer;
    mailer.setListener(&printer);
    FolderCaches caches;
    caches.populatelistview(mailer, &printer, folder, name, unreadOnly);

    std::cout << (printer.total == 0 ? std::string("No") : Str(printer.total))
              << (printer.total == 1 ? " message in " : " messages in ") << terminalLine(name)
              << ", " << printer.unread << " unread"
              << (unreadOnly ? " (only unread mail shown)" : "") << "\n";
    return 0;
}

const CommandRegistration registration({
    "list",
    "corva list FOLDER [--unread]",
    "List a mail folder's messages as the mailer shows them",
    "FOLDER is a folder under the message folder, such as Inbox, \"Sent Items\" or\n"
    "SpamBayes/BayesOld, matched without regard to case. The list is read through\n"
    "the folder's cache.csv (the command writes nothing); each line shows the state\n"
    "(unread, reply, exclaim...), sender (recipient in Sent Items and the Outbox),\n"
    "subject, received and sent dates, size, the age colour and the file. --unread\n"
    "shows unread mail only, as does a folder set to show unread mail only.",
    run,
});

} // namespace
} // namespace corva::app
