// CSV import and address export for the contact book.
#include "contacts/modContacts.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/modSubs.h"
#include "localise/modLanguages.h"
#include "message/clsMessage.h"
#include "platform/Platform.h"

namespace corva {

namespace {

constexpr const char* Module = "modContacts";

// One CSV record per line: quotes are dropped, and line breaks inside quotes
// become blanks so that a quoted field no longer breaks its line.
std::string unquote(const std::string& text) {
    std::string out = text;
    bool inQuotes = false;
    for (char& c : out) {
        if (c == '"') {
            c = ' ';
            inQuotes = !inQuotes;
        } else if (inQuotes && (c == '\r' || c == '\n')) {
            c = ' ';
        }
    }
    return out;
}

std::string headerOf(const std::string& text) {
    size_t blank = text.find("\r\n\r\n");
    if (blank == std::string::npos) return text + "\r\n\r\n";
    return text.substr(0, blank) + "\r\n\r\n ";
}

} // namespace

std::string* csvField(clsContact& c, const std::string& columnName) {
    struct Entry {
        const char* column;
        std::string clsContact::*member;
    };
    // A SUBURB column fills the second address line and a CITY column the
    // suburb field: the book's fields follow one country's addresses.
    static const Entry table[] = {
        {"NAME", &clsContact::strName},
        {"MOBILE", &clsContact::mobile},
        {"MOBILE PHONE", &clsContact::mobile},
        {"E-MAIL", &clsContact::email},
        {"EMAIL", &clsContact::email},
        {"EMAIL ADDRESS", &clsContact::email},
        {"E-MAIL ADDRESS", &clsContact::email},
        {"HOME PHONE", &clsContact::homephone},
        {"HOME FAX", &clsContact::homefax},
        {"HOME COUNTRY/REGION", &clsContact::homecountry},
        {"HOME STREET", &clsContact::homeaddr1},
        {"HOME SUBURB", &clsContact::homeaddr2},
        {"HOME CITY", &clsContact::homesuburb},
        {"HOME STATE", &clsContact::homestate},
        {"HOME POSTAL CODE", &clsContact::homepostcode},
        {"BUSINESS PHONE", &clsContact::busphone},
        {"BUSINESS FAX", &clsContact::busfax},
        {"BUSINESS COUNTRY/REGION", &clsContact::buscountry},
        {"BUSINESS STREET", &clsContact::busaddr1},
        {"BUSINESS SUBURB", &clsContact::busaddr2},
        {"BUSINESS CITY", &clsContact::bussuburb},
        {"BUSINESS STATE", &clsContact::busstate},
        {"BUSINESS POSTAL CODE", &clsContact::buspostcode},
        {"GROUPS", &clsContact::groups},
    };
    std::string key = UCase(Trim(columnName));
    for (const Entry& e : table)
        if (key == e.column) return &(c.*e.member);
    return nullptr;
}

long ImportContactsCsv(clsContacts& book, const std::string& path) {
    long taken = -1;
    bool ok = guarded("ImportContactsCsv", Module, [&] {
        std::string text;
        if (!LoadTextFile(path, text)) throw RunError(Err::FileNotFound, path);
        // Files written on this system may end their lines in LF alone.
        std::string flat = Replace(Replace(unquote(text), "\r\n", "\n"), "\r", "\n");
        std::vector<std::string> lines = Split(flat, "\n");
        std::vector<std::string> columns = Split(lines.front(), ",");
        taken = 0;
        for (size_t i = 1; i < lines.size(); ++i) {
            // At most two parts: only a file of exactly two columns can match,
            // which is how the import has always behaved.
            std::vector<std::string> parts;
            size_t comma = lines[i].find(',');
            if (comma == std::string::npos) {
                parts.push_back(lines[i]);
            } else {
                parts.push_back(lines[i].substr(0, comma));
                parts.push_back(lines[i].substr(comma + 1));
            }
            if (parts.size() != columns.size()) continue;
            clsContact contact;
            for (size_t c = 0; c < columns.size(); ++c)
                if (std::string* field = csvField(contact, columns[c])) *field = Trim(parts[c]);
            book.AddContact(contact);
            ++taken;
        }
        if (!book.SaveContacts()) throw RunError(Err::PathFileAccess, book.FilePath());
    });
    if (!ok) {
        platform::current().prompts().messageBox(gettranslation("Error importing contacts file"),
                                                 platform::Buttons::Ok,
                                                 platform::Icon::Exclamation);
        return -1;
    }
    return taken;
}

clsContact contactForAddress(const clsContacts& book, const std::string& address) {
    long found = book.SeekByEmail(address);
    if (found > 0) return book.Contact(found);
    clsContact fresh;
    fresh.email = address;
    return fresh;
}

long DeleteContactsByEmail(clsContacts& book, const std::vector<std::string>& addresses) {
    long removed = 0;
    for (const std::string& address : addresses) {
        long found = book.SeekByEmail(address);
        if (found < 1) continue;
        book.Remove(found);
        ++removed;
    }
    book.SaveContacts();
    return removed;
}

bool ExportAddresses(const std::vector<std::string>& messageFiles, const std::string& output) {
    std::string out;
    for (const std::string& file : messageFiles) {
        guarded("ExportAddresses", Module, [&] {
            std::string text;
            if (!LoadTextFile(file, text)) return;
            clsMessage msg;
            msg.CreateFromText(headerOf(text), true);
            out += extractemail(msg.From);
            out += "\r\n";
        });
    }
    if (!WriteTextFile(output, out)) {
        platform::current().prompts().messageBox(gettranslation("Could not open ") + output,
                                                 platform::Buttons::Ok,
                                                 platform::Icon::Exclamation);
        return false;
    }
    return true;
}

} // namespace corva
