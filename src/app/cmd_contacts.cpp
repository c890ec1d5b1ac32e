// "corva contacts": lists, adds to and imports into the contact book.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "contacts/clsContacts.h"
#include "contacts/modContacts.h"
#include "core/FileSubs.h"
#include "core/TerminalText.h"

#include <iostream>

namespace corva::app {
namespace {

int usage() {
    std::cerr << "Usage: corva contacts list | add NAME EMAIL | import FILE.csv\n";
    return 2;
}

int run(CommandArgs& args) {
    auto unknown = args.unknownOptions();
    const auto& words = args.rest();
    if (!unknown.empty() || words.empty()) {
        for (const auto& u : unknown) std::cerr << "Unknown option: " << u << "\n";
        return usage();
    }
    const std::string what = words.front();
    if (!((what == "list" && words.size() == 1) || (what == "add" && words.size() == 3) ||
          (what == "import" && words.size() == 2)))
        return usage();
    if (what == "import" && !FileExists(words[1])) {
        std::cerr << "Can't read " << words[1] << "\n";
        return 1;
    }

    // The session's start-up loads the book and its shutdown saves it.
    HeadlessSession session;
    clsContacts& book = Contacts();
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
        contact.email = words[2];
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
    "corva contacts list | add NAME EMAIL | import FILE.csv",
    "List, add to or import into the contact book",
    "The book is contacts.txt in the data folder. 'add' replaces a contact of the\n"
    "same name. 'import' reads a CSV file whose first line names its columns (Name,\n"
    "E-mail Address, Mobile Phone, Home Street ...); only files of exactly two\n"
    "columns are taken, as the mailer's import always has.",
    run,
});

} // namespace
} // namespace corva::app
