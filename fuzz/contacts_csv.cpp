// The CSV import of contacts: a header row naming the columns, quoted fields.
#include "FuzzSupport.h"

#include "contacts/clsContacts.h"
#include "contacts/modContacts.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    clsContacts book;
    book.setFilePath(fuzz::folder() + "contacts.txt");
    (void)ImportContactsCsv(book, fuzz::writeFile("import.csv", fuzz::asText(data, size)));
    // A second import of the same file meets every contact already there.
    (void)ImportContactsCsv(book, fuzz::folder() + "import.csv");
    return 0;
}
