// A POP3 account as the cycle and the scanner window tests set it up.
#pragma once

#include "core/mSHAREDSettings.h"

#include <string>

namespace corva::test {

// Account i on a server of the form "127.0.0.1:port", password "secret",
// switched on.
inline void setAccount(int i, const std::string& server, const std::string& user,
                       const std::string& title) {
    const std::string n = std::to_string(i);
    sset("SERVER" + n, server);
    sset("UNAME" + n, user);
    sset("PWD" + n, "secret");
    sset("TITLE" + n, title);
    sset("REPLYADDRESS" + n, user + "@example.test");
    sset("CHECK" + n, true);
}

} // namespace corva::test
