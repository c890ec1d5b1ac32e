// Loading, saving and searching the contact book.
#include "contacts/clsContacts.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDGeneral.h"
#include "core/mSHAREDLogging.h"

namespace corva {

namespace {
constexpr const char* Module = "clsContacts";

// Lines end in CR LF, LF or a lone CR: an editor may have left any of them.
std::vector<std::string_view> fileLines(std::string_view text) {
    std::vector<std::string_view> lines;
    size_t start = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] != '\r' && text[i] != '\n') continue;
        lines.push_back(text.substr(start, i - start));
        if (text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n') ++i;
        start = i + 1;
    }
    if (start < text.size()) lines.push_back(text.substr(start));
    return lines;
}
} // namespace

clsContacts& Contacts() {
    static clsContacts book;
    return book;
}

std::string clsContacts::FilePath() const {
    return path_.empty() ? addslash(DataFolder) + "contacts.txt" : path_;
}

const clsContact& clsContacts::Contact(long index) const {
    static const clsContact empty;
    if (index < 1 || index > Count()) return empty;
    return items_[static_cast<size_t>(index - 1)];
}

clsContact& clsContacts::Contact(long index) {
    static clsContact scratch;
    if (index < 1 || index > Count()) {
        scratch = clsContact();
        return scratch;
    }
    return items_[static_cast<size_t>(index - 1)];
}

void clsContacts::Remove(long index) {
    if (index < 1 || index > Count()) return;
    items_.erase(items_.begin() + (index - 1));
}

void clsContacts::AddContact(const clsContact& contact) {
    long existing = SeekByName(contact.strName);
    if (existing > 0) Remove(existing);
    items_.push_back(contact);
}

void clsContacts::UpdateContact(const clsContact& contact) {
    AddContact(contact);
    SaveContacts();
}

long clsContacts::SeekByName(const std::string& name) const {
    for (size_t i = 0; i < items_.size(); ++i)
        if (isequal(items_[i].strName, name)) return static_cast<long>(i + 1);
    return -1;
}

long clsContacts::SeekByEmail(const std::string& address) const {
    for (size_t i = 0; i < items_.size(); ++i)
        if (isequal(items_[i].email, address)) return static_cast<long>(i + 1);
    return -1;
}

std::string clsContacts::fileText() const {
    std::string out;
    auto line = [&out](const char* key, const std::string& value) {
        out += key;
        out += ' ';
        out += value;
        out += "\r\n";
    };
    // Groups are not written: a group list read from a file or an import
    // lasts until the next save, as the book has always kept it.
    for (const clsContact& c : items_) {
        out += "<contact>\r\n";
        line("name", c.strName);
        line("email", c.email);
        line("mobile", c.mobile);
        line("homeaddr1", c.homeaddr1);
        line("homeaddr2", c.homeaddr2);
        line("homeaddr3", c.homeaddr3);
        line("homephone", c.homephone);
        line("homefax", c.homefax);
        line("homecountry", c.homecountry);
        line("homestate", c.homestate);
        line("homesuburb", c.homesuburb);
        line("homepostcode", c.homepostcode);
        line("busaddr1", c.busaddr1);
        line("busaddr2", c.busaddr2);
        line("busaddr3", c.busaddr3);
        line("busphone", c.busphone);
        line("busfax", c.busfax);
        line("buscountry", c.buscountry);
        line("busstate", c.busstate);
        line("bussuburb", c.bussuburb);
        line("buspostcode", c.buspostcode);
    }
    return out;
}

bool clsContacts::SaveContacts() {
    bool saved = false;
    guarded("SaveContacts", Module, [&] {
        std::string path = FilePath();
        std::string out = fileText();
        if (path == loadedPath_ && out == loadedText_) {
            saved = true;
            return;
        }
        if (path == loadedPath_ && !unread_.empty()) {
            // Saving would drop what the loader could not read: the file stays.
            CopyToBackup(path);
            NoteFailedWrite("SaveContacts", "Contacts not saved: " + path +
                                                " holds lines the book could not read (" + unread_ +
                                                "); a copy is in " + path + ".bak");
            return;
        }
        if (FileExists(path)) MakeReadWrite(path);
        if (!WriteFileAtomically(path, out)) throw RunError(Err::PathFileAccess, path);
        loadedPath_ = path;
        loadedText_ = out;
        unread_.clear();
        saved = true;
    });
    return saved;
}

void clsContacts::LoadContacts() {
    items_.clear();
    std::string path = FilePath();
    loadedPath_ = path;
    loadedText_.clear();
    unread_.clear();
    if (!FileExists(path)) {
        LogAction("No contacts found");
        return;
    }
    bool loaded = guarded("LoadContacts", Module, [&] {
        std::string text;
        if (!LoadTextFile(path, text)) throw RunError(Err::PathFileAccess, path);
        clsContact current;
        bool started = false;
        size_t lineNumber = 0;
        auto noteUnread = [&](const char* what) {
            if (unread_.empty()) unread_ = what + (" at line " + std::to_string(lineNumber));
        };
        auto finish = [&] {
            // A contact needs both a name and an address to be kept.
            if (started && !current.strName.empty() && !current.email.empty())
                items_.push_back(current);
            else if (started)
                noteUnread("a contact without name or address");
        };
        for (std::string_view line : fileLines(text)) {
            ++lineNumber;
            size_t blank = line.find(' ');
            std::string key = LCase(line.substr(0, blank));
            if (key == "<contact>") {
                finish();
                current = clsContact();
                started = true;
                continue;
            }
            std::string* field = current.field(key);
            if (!field || !started) {
                if (!Trim(std::string(line)).empty()) noteUnread("a line of no contact");
                continue;
            }
            // A key alone is an empty value whose blank an editor stripped.
            *field = blank == std::string::npos ? "" : std::string(line.substr(blank + 1));
        }
        finish();
    });
    if (!loaded && unread_.empty()) unread_ = "a read error";
    loadedText_ = fileText();
    if (!unread_.empty()) LogAction("Contacts: " + path + " has " + unread_);
}

} // namespace corva
