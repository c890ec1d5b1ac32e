// "corva contacts": lists, adds to and imports into the contact book.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "app/Json.h"
#include "contacts/clsContacts.h"
#include "contacts/modContacts.h"
#include "core/AccountRules.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/TerminalText.h"

#include <iostream>

namespace corva::app {
namespace {

constexpr const char* Usage = "corva contacts list [--json] | add NAME EMAIL | import FILE.csv";

int run(CommandArgs& args) {
    const bool json = args.flag("--json");
    if (auto status = args.refused(Usage, 1, 3)) return *status;
    const auto& words = args.rest();
    const std::string what = words.front();
    if (json && what != "list") return RefuseWith("contacts", "--json goes with list");
    if (!((what == "list" && words.size() == 1) || (what == "add" && words.size() == 3) ||
          (what == "import" && words.size() == 2))) {
        std::cerr << "Usage: " << Usage << "\n";
        return 2;
    }
    if (what == "add" && !IsMailAddress(Trim(words[2])))
        return RefuseWith("contacts", "\"" + terminalLine(words[2]) + "\" is not an address");
    if (what == "import" && !FileExists(words[1])) {
        std::cerr << "Can't read " << words[1] << "\n";
        return 1;
    }

    // The session's start-up loads the book and its shutdown saves it.
    HeadlessSession session;
    clsContacts& book = Contacts();
    if (what == "list" && json) {
        std::cout << "[";
        for (long i = 1; i <= book.Count(); ++i)
            std::cout << (i > 1 ? ",\n  " : "\n  ")
                      << JsonObject()
                             .text("name", book.Contact(i).strName)
                             .text("email", book.Contact(i).email)
                             .str();
        std::cout << (book.Count() ? "\n]\n" : "]\n");
        return 0;
    }
    if (what == "list") {
        for (long i = 1; i <= book.Count(); ++i)
            std::cout << terminalLine(book.Contact(i).strName) << " <"
                      << terminalLine(book.Contact(i).email) << ">\n";
        std::cout << book.Count() << (book.Count() == 1 ? " contact\n" : " contacts\n");
        return 0;
    }
    if (what == "add") {
        clsContact contact;
        contact.strName = words[1];
        contact.email = Trim(words[2]);
        if (contact.strName.empty() || contact.email.empty()) {
            std::cerr << "A contact needs a name and an address\n";
            return 2;
        }
        book.AddContact(contact);
        if (!book.SaveContacts()) {
            std::cerr << "Could not write " << book.FilePath() << "\n";
            return 1;
        }
        std::cout << "Added " << terminalLine(contact.strName) << " <"
                  << terminalLine(contact.email) << ">\n";
        return 0;
    }
    long taken = ImportContactsCsv(book, words[1]);
    if (taken < 0) return 1;
    std::cout << "Imported " << taken << (taken == 1 ? " contact" : " contacts") << "; "
              << book.Count() << " in the book\n";
    return 0;
}

const CommandRegistration registration({
    "contacts",
    Usage,
    "List, add to or import into the contact book",
    "The book is contacts.txt in the data folder. 'add' replaces a contact of the\n"
    "same name. 'import' reads a CSV file whose first line names its columns (Name,\n"
    "E-mail Address, Mobile Phone, Home Street ...); only files of exactly two\n"
    "columns are taken, as the mailer's import always has. An EMAIL that is not\n"
    "an address (name@domain) is refused with exit status 2.\n"
    "list --json writes a list of {\"name\", \"email\"}.",
    run,
});

} // namespace
} // namespace corva::app
