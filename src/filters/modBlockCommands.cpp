// The scanner's block and ignore commands, and how it words a verdict.
#include "filters/modBlockCommands.h"

#include "core/Strings.h"
#include "core/modSubs.h"
#include "filters/frmFilters.h"
#include "message/clsMessage.h"

namespace corva {

namespace {

void recheck(frmFilters& filters, clsMessage& msg) {
    filters.CheckMessage(msg, true);
}

} // namespace

std::string addressdomain(const std::string& address) {
    const size_t at = InStr(address, "@");
    if (!at) return "";
    return Trim(Mid(address, at + 1));
}

void blockorunblock(frmFilters& filters, clsMessage& msg, bool unblock) {
    const std::string sender = extractemail(msg.From);
    if (unblock)
        filters.UnBlockSender(sender);
    else
        filters.BlockSender(sender);
    recheck(filters, msg);
}

void blockorunblockDomain(frmFilters& filters, clsMessage& msg, bool unblock) {
    const std::string domain = addressdomain(extractemail(msg.From));
    if (domain.empty()) return;
    if (unblock)
        filters.UnBlockSenderDomain(domain);
    else
        filters.BlockSenderDomain(domain);
    recheck(filters, msg);
}

void blockorunblockRecipDomain(frmFilters& filters, clsMessage& msg, bool unblock) {
    const std::string domain = addressdomain(extractemail(msg.To_Email));
    if (domain.empty()) return;
    if (unblock)
        filters.UnBlockRecipDomain(domain);
    else
        filters.BlockRecipDomain(domain);
    recheck(filters, msg);
}

void blockorunblockrecip(frmFilters& filters, clsMessage& msg, bool unblock) {
    const std::string recipient = extractemail(msg.To_Email);
    if (unblock)
        filters.UnBlockRecip(recipient);
    else
        filters.BlockRecip(recipient);
    recheck(filters, msg);
}

void ignoreornot(frmFilters& filters, clsMessage& msg, bool unignore) {
    const std::string recipient = extractemail(msg.To_Email);
    if (unignore)
        filters.UnIgnoreRecipient(recipient);
    else
        filters.IgnoreRecipient(recipient);
    recheck(filters, msg);
}

std::string verdictword(const clsMessage& msg) {
    if (msg.Deleted) return msg.BlockedSender || msg.BlockedRecip ? "BLOCK" : "FAIL";
    if (msg.Ignored) return "IGNORE";
    if (msg.Suspicious) return "SPAM?";
    return "PASS";
}

std::string colourname(int32_t colour) {
    switch (colour) {
    case ColourGood:
        return "green";
    case ColourDelete:
        return "orange";
    case ColourSuspicious:
        return "pink";
    case ColourLeftAlone:
        return "grey";
    default:
        return Str(colour);
    }
}

} // namespace corva
