// contacts.txt: blocks of "<contact>" and field lines, looked up and saved.
#include "FuzzSupport.h"

#include "contacts/clsContacts.h"
#include "contacts/modContacts.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    clsContacts book;
    book.setFilePath(fuzz::writeFile("contacts.txt", fuzz::asText(data, size)));
    book.LoadContacts();
    (void)book.SeekByName("Ann Lee");
    (void)book.SeekByEmail("ann@lee.example");
    (void)contactForAddress(book, "\"Ann\" <ANN@lee.example>");
    if (book.Count() > 0) book.Remove(0);
    book.SaveContacts();
    return 0;
}
