// The scanner's commands that need no window: the toolbar's, those on the
// selected lines (fetching one message, bouncing), the right-click menu as
// tailored to a line, and the faked failure notice of a bounce. The window
// only says which lines and which command.
#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace corva {

class clsMessage;
class frmMain;
struct ListLine;

// A toolbar or drop-down command by its key ("scan", "delete", "upanddown",
// "sendrcvdel", "updownwithclear", "stop", "upload", "download", "settings",
// "reinforce"); false when the key is none of these. Those that start a
// transfer cancel the running one instead; "reinforce" is refused while a
// cycle is checking.
bool RunScannerCommand(frmMain& main, const std::string& key);

// The message a list line shows; null for a server or notice line.
std::shared_ptr<clsMessage> MessageOfLine(const frmMain& main, const ListLine& line);

// Fetches the line's message on its own (to read, view or download it); says
// "BUSY: Cannot open message" while a transfer or an upload runs. True when
// the fetch began.
bool FetchMessageOfLine(frmMain& main, const ListLine& line, bool toRead);
// A double click: reading needs the unnumbered DISPLAYNAME (only a hand edit
// sets it), and says so when it is missing.
bool ReadLineOnServer(frmMain& main, const ListLine& line);

// Where a fetched message goes. A download is stored in the Inbox as a new
// message; a source view writes the text to a temporary file in the private
// temporary folder, which goes when the program ends. Each returns the path
// written ("" when the source could not be written).
std::string SaveDownloadedMessage(const clsMessage& message);
std::string WriteSourceFile(const clsMessage& message);

// Spools a failure notice for each message line, saying when a sender can't
// be told, and at the end that they were bounced. The number spooled; nothing
// while a cycle is checking.
int BounceLines(frmMain& main, const std::vector<ListLine>& lines);

// Marks the lines' messages as junk or good (the classifier asks first), then
// checks the list again so that the colours show what was learnt. Refused
// while a cycle is checking; false then.
bool MarkLines(frmMain& main, const std::vector<ListLine>& lines, bool asJunk);

// Whether a right-click entry may run now: while a cycle is checking none but
// "Dismiss Menu" may, and with DisableReadOnServer neither "Read Message" nor
// "View this message as source code". The menu greys out what may not.
bool LineCommandEnabled(const frmMain& main, const std::string& entry);
// True when the entry may not run now; a fetching one then says "BUSY: Cannot
// open message".
bool LineCommandRefused(frmMain& main, const std::string& entry);

// The entries of the right-click menu, in order, as captions before tailoring.
const std::vector<std::string>& RightClickEntries();

struct TailoredMenu {
    std::string readCaption;   // "Read Message 3 on account Home"
    std::string sourceCaption; // "View Message 3 Source"
    std::string editFilterCaption;
    bool editFilterVisible = false;
};
TailoredMenu TailorRightClickMenu(const clsMessage& msg, const std::string& accountTitle);

// A failure notice ready to spool: from the configured prefix plus the
// recipient's domain, to the junk's sender.
struct Bounce {
    std::string From;
    std::string To;
    std::string Subject;
    std::string Body;
};
// Empty when the sender can't be told; replyAddress is the account's own
// address, the last choice for the recipient that "failed".
std::optional<Bounce> BuildBounce(const clsMessage& msg, const std::string& replyAddress);
// Spools the failure notice for msg from its account; false when the sender
// can't be told, and nothing is spooled.
bool SpoolBounce(frmMain& main, const clsMessage& msg);
// The recipient that "failed", reduced as the notice names it.
std::string BounceRecipient(const clsMessage& msg, const std::string& replyAddress);

} // namespace corva
