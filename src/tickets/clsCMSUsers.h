// The people of the ticket desk (users, moderators, admins) and the tickets
// they follow. Nothing fills the collection yet and it keeps no file: it is
// here so that a user view has its model when it comes.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace corva {

class clsCMSUser {
public:
    enum class Level : int16_t { User, Moderator, Admin };
    std::string name;
    std::string email;
    Level level = Level::User;
    std::vector<int32_t> tickets; // the numbers the user follows
};

class clsCMSUsers {
public:
    int UserCount() const { return static_cast<int>(users_.size()); }
    // From 1, as the ticket list counts; out of range throws.
    clsCMSUser& cUser(int index) { return users_.at(static_cast<size_t>(index - 1)); }
    void AddUser(const clsCMSUser& user) { users_.push_back(user); }
    // No file holds users yet, so these keep nothing and read nothing.
    bool Load() { return true; }
    bool Save() const { return true; }

private:
    std::vector<clsCMSUser> users_;
};

} // namespace corva
