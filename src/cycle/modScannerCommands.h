// The scanner's commands on one line that need no window: the right-click
// menu as tailored to the line, and the faked failure notice of a bounce.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace corva {

class clsMessage;

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
// The recipient that "failed", reduced as the notice names it.
std::string BounceRecipient(const clsMessage& msg, const std::string& replyAddress);

} // namespace corva
