// The contact book: every contact in memory, mirrored in contacts.txt in the
// data folder. One book lives for the whole run (Contacts()).
#pragma once

#include "contacts/clsContact.h"

#include <string>
#include <vector>

namespace corva {

class clsContacts {
public:
    long Count() const { return static_cast<long>(items_.size()); }
    // 1-based; an index out of range gives an empty contact.
    const clsContact& Contact(long index) const;
    clsContact& Contact(long index);
    void Remove(long index);
    // A name is unique: an entry of the same name goes, the new one is appended.
    void AddContact(const clsContact& contact);
    // AddContact, then save at once, as the edit view does.
    void UpdateContact(const clsContact& contact);
    // Writes contacts.txt when its text would change; false when the write
    // failed, or when the file holds lines the loader could not read (they
    // would be lost: the file stays and a copy goes to contacts.txt.bak).
    bool SaveContacts();
    void LoadContacts();
    // What the last load could not read ("" when it read everything).
    const std::string& unreadPart() const { return unread_; }
    // The 1-based index of the first match (trimmed, ignoring case), or -1.
    long SeekByName(const std::string& name) const;
    long SeekByEmail(const std::string& address) const;

    // contacts.txt in the data folder unless a path was set.
    std::string FilePath() const;
    void setFilePath(const std::string& path) { path_ = path; }

private:
    std::string fileText() const;
    std::vector<clsContact> items_;
    std::string path_;
    std::string loadedPath_; // the file as last loaded or saved, in the text we write
    std::string loadedText_;
    std::string unread_;
};

// The one book of the running program.
clsContacts& Contacts();

} // namespace corva
