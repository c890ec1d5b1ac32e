#include "core/modSubs.h"

#include "core/Account.h"
#include "core/ShownText.h"
#include "core/Strings.h"
#include "core/mSHAREDSettings.h"
#include "platform/Platform.h"

namespace corva {

std::string extractemail(const std::string& raw) {
    std::string text = Trim(raw);
    if (text.empty()) return "";
    size_t lt = text.find('<');
    if (lt != std::string::npos) text = Replace(Trim(text.substr(lt + 1)), ">", "");
    text = LCase(text);
    text = Replace(text, " @", "@");
    text = Replace(text, "@ ", "@");
    size_t blank = text.find(' ');
    if (blank != std::string::npos) text = text.substr(0, blank);
    return text;
}

std::string extractname(const std::string& text) {
    size_t lt = InStr(text, "<");
    std::string name = lt >= 2 ? Trim(text.substr(0, lt - 1)) : text;
    std::string out;
    for (char c : name)
        if (c != '"' && c != '\'') out += c;
    return out;
}

int defaultaccount(int fromIndex) {
    int found = Account::firstWithReplyAddress(fromIndex);
    return found < 0 ? 0 : found;
}

void websitevisit(const std::string& address) {
    if (!platform::current().shell().open(address))
        platform::current().prompts().messageBox(ShownText("There was an ERROR?"),
                                                 platform::Buttons::Ok, platform::Icon::Exclamation,
                                                 ShownText("Open URL Error"));
}

void busymouse() {
    platform::current().prompts().setCursor(platform::Cursor::Busy);
}
void busybgmouse() {
    platform::current().prompts().setCursor(platform::Cursor::BusyBackground);
}
void normalmouse() {
    platform::current().prompts().setCursor(platform::Cursor::Normal);
}

} // namespace corva
