#include "core/modSubs.h"

#include "core/Account.h"
#include "core/ShownText.h"
#include "core/Strings.h"
#include "core/mSHAREDSettings.h"
#include "platform/Platform.h"

#include <algorithm>

namespace corva {

std::string extractemail(const std::string& raw) {
    // Trim, the part inside <...> without any ">", lower case, no blank on
    // either side of "@", up to the first blank: in one buffer, since the
    // scorer asks this of every sender.
    auto trimmed = [](std::string_view s) {
        while (!s.empty() && s.front() == ' ') s.remove_prefix(1);
        while (!s.empty() && s.back() == ' ') s.remove_suffix(1);
        return s;
    };
    std::string_view text = trimmed(raw);
    if (text.empty()) return "";
    std::string out;
    size_t lt = text.find('<');
    if (lt != std::string_view::npos) {
        out.assign(trimmed(text.substr(lt + 1)));
        out.erase(std::remove(out.begin(), out.end(), '>'), out.end());
    } else {
        out.assign(text);
    }
    for (char& c : out)
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
    if (out.find(' ') == std::string::npos) return out;
    // Each pass drops one blank per "@", left to right, as Replace does.
    auto squeeze = [&out](char first, char second) {
        size_t o = 0;
        for (size_t i = 0; i < out.size(); ++i) {
            if (out[i] == first && i + 1 < out.size() && out[i + 1] == second) {
                out[o++] = '@';
                ++i;
            } else {
                out[o++] = out[i];
            }
        }
        out.resize(o);
    };
    squeeze(' ', '@');
    squeeze('@', ' ');
    size_t blank = out.find(' ');
    if (blank != std::string::npos) out.resize(blank);
    return out;
}

std::string extractname(const std::string& text) {
    size_t lt = InStr(text, "<");
    std::string name = lt >= 2 ? Trim(text.substr(0, lt - 1)) : text;
    name.erase(
        std::remove_if(name.begin(), name.end(), [](char c) { return c == '"' || c == '\''; }),
        name.end());
    return name;
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
