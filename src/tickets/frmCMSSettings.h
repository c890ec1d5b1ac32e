// The ticket settings window ("CMS Settings") as a logic object: its fields
// as opened and what OK keeps.
#pragma once

#include <string>

namespace corva {

struct CMSSettingsFields {
    std::string returnEmail = "cms@";
    std::string senderName = "CorvaCMS";
    std::string webpath = "W:\\Cms";
    std::string initial;  // ResponseInitial.txt
    std::string progress; // ResponseProgress.txt
    std::string closed;   // ResponseClosed.txt
};

class frmCMSSettings {
public:
    static constexpr const char* Hint = "Keywords: [ticket] [version] [quotedorig]";
    // The stored keys, else the default account's reply address and display
    // name, else the presets; the three texts from their files.
    static CMSSettingsFields Load();
    // "OK": the three keys, the three files and settings.ini.
    static bool Save(const CMSSettingsFields& fields);
};

} // namespace corva
