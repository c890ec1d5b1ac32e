// The proxy settings for web access and the logic of the dialog that edits
// them: ProxyType 0 system default, 1 no proxy, 2 the manual proxy of
// ProxyServer, ProxyPort, ProxyUser and ProxyPwd.
#pragma once

#include <string>

namespace corva {

struct ProxySettings {
    enum Type { SystemDefault = 0, Direct = 1, Manual = 2 };
    int type = SystemDefault;
    std::string server;
    std::string port;
    std::string user;
    std::string password;
};

// Where the password lives when the desktop keyring takes it; else ProxyPwd.
constexpr const char* ProxyKeyringEntry = "ProxyPwd";

class fSHAREDProxy {
public:
    // The settings as stored, the password from the keyring when it holds one.
    static ProxySettings Load();
    // Checks that both password boxes agree ("Your passwords don't match.
    // Please retype them." when not) and stores the settings; the password
    // goes to the desktop keyring, or to ProxyPwd when there is none.
    // Returns the text to show, "" when saved.
    static std::string cmdOK(const ProxySettings& settings, const std::string& confirmPassword);
    // The captions of the three choices, in the order of ProxyType.
    static const char* TypeCaption(int type);
};

} // namespace corva
