// "corva block", "corva unblock", "corva ignore", "corva unignore": the
// scanner's list commands on an address typed in, for the lists both filter
// sets read.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "core/AccountRules.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "core/modSubs.h"
#include "filters/frmFilters.h"
#include "filters/modBlockCommands.h"

#include <iostream>
#include <string>

namespace corva::app {
namespace {

// An address as the scanner takes it from a message; a domain may be given
// bare or as an address, whose part after the first "@" is used.
// A domain as mail carries it: no blanks, no "@", something around each dot.
bool isDomain(const std::string& text) {
    return !text.empty() && IsMailAddress("x@" + text);
}

std::string domainOf(const std::string& text) {
    const std::string address = extractemail(text);
    if (InStr(address, "@")) return addressdomain(address);
    return Trim(text);
}

int changeLists(CommandArgs& args, bool block, const char* name) {
    if (auto status = args.refused(std::string("corva ") + name +
                                       " sender|domain|recipient|recipient-domain ADDRESS",
                                   2, 2))
        return *status;
    const auto& rest = args.rest();
    const std::string kind = LCase(rest[0]);
    if (kind != "sender" && kind != "domain" && kind != "recipient" && kind != "recipient-domain") {
        std::cerr << "Unknown list: " << rest[0]
                  << " (sender, domain, recipient or recipient-domain)\n";
        return 2;
    }
    const bool domain = kind == "domain" || kind == "recipient-domain";
    const std::string entry = domain ? domainOf(rest[1]) : extractemail(rest[1]);
    // Taking out stays possible for whatever an older version let in.
    if (block ? (domain ? !isDomain(entry) : !IsMailAddress(entry)) : entry.empty())
        return RefuseWith(name, "\"" + terminalLine(rest[1]) + "\" is not " +
                                    (domain ? "a domain" : "an address"));

    HeadlessSession session;
    frmFilters& filters = session.serverFilters();
    bool changed = false;
    if (kind == "sender")
        changed = block ? filters.BlockSender(entry) : filters.UnBlockSender(entry);
    else if (kind == "domain")
        changed = block ? filters.BlockSenderDomain(entry) : filters.UnBlockSenderDomain(entry);
    else if (kind == "recipient")
        changed = block ? filters.BlockRecip(entry) : filters.UnBlockRecip(entry);
    else
        changed = block ? filters.BlockRecipDomain(entry) : filters.UnBlockRecipDomain(entry);
    // The local set reads the same files; it takes the change now, as the
    // program does at its next reload.
    session.localFilters().ReloadLists();
    if (!changed) {
        std::cerr << entry << (block ? " is already in" : " is not in") << " the " << kind
                  << " list\n";
        return 1;
    }
    std::cout << (block ? "Blocked " : "Unblocked ") << kind << " " << entry << "\n";
    return 0;
}

int changeIgnore(CommandArgs& args, bool ignore, const char* name) {
    if (auto status = args.refused(std::string("corva ") + name + " ADDRESS", 1, 1)) return *status;
    const std::string entry = extractemail(args.rest().front());
    if (ignore ? !IsMailAddress(entry) : entry.empty())
        return RefuseWith(name, "\"" + terminalLine(args.rest().front()) + "\" is not an address");
    HeadlessSession session;
    frmFilters& filters = session.serverFilters();
    const bool changed = ignore ? filters.IgnoreRecipient(entry) : filters.UnIgnoreRecipient(entry);
    session.localFilters().ReloadLists();
    if (!changed) {
        std::cerr << entry << (ignore ? " is already" : " is not") << " ignored\n";
        return 1;
    }
    std::cout << (ignore ? "Ignoring mail to " : "No longer ignoring mail to ") << entry << "\n";
    return 0;
}

const char* const listHelp =
    "The lists sit in front of the filter rules: mail from a blocked sender or\n"
    "domain, or to a blocked recipient or recipient domain, is deleted on the\n"
    "server whatever the rules say. An address is compared whole, ignoring case;\n"
    "a domain matches any address that contains it. A domain may be given bare\n"
    "(casino.example) or as an address (its part after the \"@\" is used).\n"
    "Something that is not an address (name@domain) or a domain is refused with\n"
    "exit status 2.";

const CommandRegistration blockRegistration({
    "block",
    "corva block sender|domain|recipient|recipient-domain ADDRESS",
    "Add an address or domain to a block list",
    listHelp,
    [](CommandArgs& args) { return changeLists(args, true, "block"); },
});

const CommandRegistration unblockRegistration({
    "unblock",
    "corva unblock sender|domain|recipient|recipient-domain ADDRESS",
    "Take an address or domain out of a block list",
    listHelp,
    [](CommandArgs& args) { return changeLists(args, false, "unblock"); },
});

const CommandRegistration ignoreRegistration({
    "ignore",
    "corva ignore ADDRESS",
    "Leave mail to a recipient alone on the server",
    "Mail to an ignored recipient is neither deleted nor fetched: its line is grey,\n"
    "before any block list or rule is asked.",
    [](CommandArgs& args) { return changeIgnore(args, true, "ignore"); },
});

const CommandRegistration unignoreRegistration({
    "unignore",
    "corva unignore ADDRESS",
    "Stop ignoring mail to a recipient",
    "",
    [](CommandArgs& args) { return changeIgnore(args, false, "unignore"); },
});

} // namespace
} // namespace corva::app
