#include "updates/UpdateVersion.h"

#include "core/AppInfo.h"
#include "core/Strings.h"
#include "core/mSHAREDLogging.h"

#include <cctype>

namespace corva {

namespace {

bool isDigit(char c) {
    return std::isdigit(static_cast<unsigned char>(c)) != 0;
}

// The leading digits of text as a number, as a classic Val reads them; large
// numbers stop growing rather than overflow.
long leadingNumber(const std::string& text, size_t& used) {
    long value = 0;
    used = 0;
    while (used < text.size() && isDigit(text[used])) {
        if (value < 100000000) value = value * 10 + (text[used] - '0');
        ++used;
    }
    return value;
}

std::string removeAll(std::string text, const std::string& what) {
    for (size_t at = text.find(what); at != std::string::npos; at = text.find(what, at))
        text.erase(at, what.size());
    return text;
}

bool isSha256(const std::string& text) {
    if (text.size() != 64) return false;
    for (char c : text)
        if (!std::isxdigit(static_cast<unsigned char>(c))) return false;
    return true;
}

} // namespace

std::string UpdateVersion::text() const {
    return std::to_string(major) + "." + std::to_string(minor) + "." + std::to_string(revision) +
           suffix;
}

UpdateVersion ExtractVersion(const std::string& text) {
    UpdateVersion v;
    const size_t lf = text.find('\n');
    const std::string first = removeAll(text.substr(0, lf), "\r");
    const size_t dot1 = first.find('.');
    if (dot1 != std::string::npos && dot1 > 0) {
        size_t used = 0;
        v.major = leadingNumber(first.substr(0, dot1), used);
        v.read = used == dot1;
        const size_t dot2 = first.find('.', dot1 + 1);
        const std::string minor =
            first.substr(dot1 + 1, dot2 == std::string::npos ? std::string::npos : dot2 - dot1 - 1);
        v.minor = leadingNumber(minor, used);
        if (dot2 != std::string::npos) {
            const std::string rest = first.substr(dot2 + 1);
            v.revision = leadingNumber(rest, used);
            v.suffix = Trim(rest.substr(used));
        }
        if (!v.suffix.empty() && (isDigit(v.suffix.back()) || v.suffix == "0")) v.suffix.clear();
    }
    if (lf != std::string::npos) {
        std::string address = Trim(removeAll(text.substr(lf + 1), "\r\n"));
        // A digest after the address, on the same line, guards the download.
        const size_t blank = address.find_last_of(" \t");
        if (blank != std::string::npos && isSha256(address.substr(blank + 1))) {
            v.sha256 = LCase(address.substr(blank + 1));
            address = Trim(address.substr(0, blank));
        }
        const std::string digits = std::to_string(v.major) + std::to_string(v.minor) +
                                   std::to_string(v.revision) + v.suffix;
        for (size_t at = address.find("@@@"); at != std::string::npos;
             at = address.find("@@@", at + digits.size()))
            address.replace(at, 3, digits);
        v.address = address;
        LogAction("Url set to " + v.address);
    }
    return v;
}

bool IsNewerVersion(const UpdateVersion& a, const UpdateVersion& b) {
    if (a.major > b.major) return true;
    if (a.major >= b.major && a.minor > b.minor) return true;
    if (a.major >= b.major && a.minor >= b.minor && a.revision > b.revision) return true;
    return a.major == b.major && a.minor == b.minor && a.revision == b.revision &&
           a.suffix > b.suffix;
}

UpdateVersion RunningVersion() {
    UpdateVersion v = ExtractVersion(AppVersion());
    v.address.clear();
    return v;
}

} // namespace corva
