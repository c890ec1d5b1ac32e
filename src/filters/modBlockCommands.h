// The scanner's block and ignore commands on one message: each takes the
// sender's or the recipient's address (or its domain) into or out of a list of
// the given filters, then checks the message again so its line shows the change.
#pragma once

#include <cstdint>
#include <string>

namespace corva {

class clsMessage;
class frmFilters;

// The sender's address.
void blockorunblock(frmFilters& filters, clsMessage& msg, bool unblock);
// The sender's domain; nothing happens for an address without one.
void blockorunblockDomain(frmFilters& filters, clsMessage& msg, bool unblock);
// The recipient's domain; nothing happens for an address without one.
void blockorunblockRecipDomain(frmFilters& filters, clsMessage& msg, bool unblock);
// The recipient's address.
void blockorunblockrecip(frmFilters& filters, clsMessage& msg, bool unblock);
// The recipient's address into or out of the ignore list.
void ignoreornot(frmFilters& filters, clsMessage& msg, bool unignore);

// Everything after the first "@" of an address, trimmed; "" without an "@".
std::string addressdomain(const std::string& address);

// The word the scanner shows for a verdict: BLOCK, FAIL, IGNORE, SPAM? or PASS.
std::string verdictword(const clsMessage& msg);
// "green", "orange", "pink", "grey", or the number for any other colour.
std::string colourname(int32_t colour);

} // namespace corva
