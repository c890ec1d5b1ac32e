// One entry of the contact book.
#pragma once

#include <string>
#include <string_view>

namespace corva {

class clsContact {
public:
    std::string strName;
    std::string email;
    std::string homeaddr1;
    std::string homeaddr2;
    std::string homeaddr3;
    std::string homestate;
    std::string homesuburb;
    std::string homepostcode;
    std::string homecountry;
    std::string homephone;
    std::string homefax;
    std::string mobile;
    std::string busaddr1;
    std::string busaddr2;
    std::string busaddr3;
    std::string busstate;
    std::string bussuburb;
    std::string buspostcode;
    std::string buscountry;
    std::string busphone;
    std::string busfax;
    // Group names, each followed by ",": "friends,work,".
    std::string groups;

    // A plain search for name + "," ignoring case, so "ork" is in "work,".
    bool InGroup(const std::string& name) const;
    void AddToGroup(const std::string& name);
    void RemoveFromGroup(const std::string& name);
    void RenameGroup(const std::string& oldName, const std::string& newName);

    // The field a key of contacts.txt names ("name" is strName); nullptr for others.
    std::string* field(std::string_view lowerKey);
};

} // namespace corva
