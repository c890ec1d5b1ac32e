// Group handling of a contact and the names its fields have in contacts.txt.
#include "contacts/clsContact.h"

#include "core/Strings.h"

namespace corva {

bool clsContact::InGroup(const std::string& name) const {
    return InStrNoCase(groups, Trim(name) + ",") > 0;
}

void clsContact::AddToGroup(const std::string& name) {
    if (!InGroup(name)) groups += name + ",";
}

void clsContact::RemoveFromGroup(const std::string& name) {
    groups = Replace(groups, name + ",", "");
}

void clsContact::RenameGroup(const std::string& oldName, const std::string& newName) {
    groups = Replace(groups, oldName + ",", newName + ",");
}

std::string* clsContact::field(std::string_view key) {
    struct Entry {
        std::string_view key;
        std::string clsContact::*member;
    };
    static const Entry table[] = {
        {"name", &clsContact::strName},
        {"email", &clsContact::email},
        {"homeaddr1", &clsContact::homeaddr1},
        {"homeaddr2", &clsContact::homeaddr2},
        {"homeaddr3", &clsContact::homeaddr3},
        {"homestate", &clsContact::homestate},
        {"homesuburb", &clsContact::homesuburb},
        {"homepostcode", &clsContact::homepostcode},
        {"homecountry", &clsContact::homecountry},
        {"homephone", &clsContact::homephone},
        {"homefax", &clsContact::homefax},
        {"mobile", &clsContact::mobile},
        {"busaddr1", &clsContact::busaddr1},
        {"busaddr2", &clsContact::busaddr2},
        {"busaddr3", &clsContact::busaddr3},
        {"busstate", &clsContact::busstate},
        {"bussuburb", &clsContact::bussuburb},
        {"buspostcode", &clsContact::buspostcode},
        {"buscountry", &clsContact::buscountry},
        {"busphone", &clsContact::busphone},
        {"busfax", &clsContact::busfax},
        {"groups", &clsContact::groups},
    };
    for (const Entry& e : table)
        if (e.key == key) return &(this->*e.member);
    return nullptr;
}

} // namespace corva
