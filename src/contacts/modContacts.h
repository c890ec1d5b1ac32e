// The contact book's operations that need no window: importing a CSV file of
// addresses and exporting the senders of messages.
#pragma once

#include "contacts/clsContacts.h"

#include <string>
#include <vector>

namespace corva {

// The field of a contact that a CSV column name selects (upper case, trimmed);
// nullptr for a column the book doesn't know.
std::string* csvField(clsContact& contact, const std::string& columnName);

// Imports a CSV file into the book and saves it. The number of contacts taken,
// or -1 after telling the user "Error importing contacts file".
long ImportContactsCsv(clsContacts& book, const std::string& path);

// What the edit view starts from for an address: the contact that has it, or
// a new contact holding just the address.
clsContact contactForAddress(const clsContacts& book, const std::string& address);

// The list view's Delete: each address is looked up and its contact removed,
// then the book is saved. The number removed.
long DeleteContactsByEmail(clsContacts& book, const std::vector<std::string>& addresses);

// Writes the sender address of each message file as one line of output.
// False after telling the user "Could not open " + output.
bool ExportAddresses(const std::vector<std::string>& messageFiles, const std::string& output);

} // namespace corva
