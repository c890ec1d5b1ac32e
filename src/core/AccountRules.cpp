#include "core/AccountRules.h"

#include "core/Strings.h"

namespace corva {

const std::vector<AccountKey>& AccountKeys() {
    using K = AccountKey::Kind;
    static const std::vector<AccountKey> keys{
        {"TITLE", "title", K::Required, NoTitleText},
        {"SERVER", "server", K::Host, NoInboundText},
        {"UNAME", "user", K::Required, NoLoginText},
        {"PWD", "password", K::Text, ""},
        {"CHECK", "check", K::Truth, ""},
        {"STOPATLAST", "stop-at-last", K::Truth, ""},
        {"SMTP", "smtp", K::Host, NoOutboundText},
        {"SMTPAuth", "smtp-auth", K::Truth, ""},
        {"SMTPUNAME", "smtp-user", K::Text, ""},
        {"SMTPPWD", "smtp-password", K::Text, ""},
        {"REPLYADDRESS", "address", K::Address, BadAddressText},
        {"DISPLAYNAME", "name", K::Required, NoUserNameText},
        {"EXCLUSIVE0_", "exclusive0", K::Text, ""},
        {"EXCLUSIVE1_", "exclusive1", K::Text, ""},
        {"SMTPPort", "smtp-port", K::Port, ""},
        {"POPSECURITY", "pop-security", K::Security, ""},
        {"SMTPSECURITY", "smtp-security", K::Security, ""},
        {"KEYRING", "keyring", K::Truth, ""},
    };
    return keys;
}

std::optional<AccountKey> FindAccountKey(std::string_view typed) {
    const std::string t(typed);
    for (const auto& key : AccountKeys())
        if (EqualsNoCase(t, key.name) || EqualsNoCase(t, key.alias)) return key;
    return std::nullopt;
}

bool IsMailAddress(std::string_view text) {
    const size_t at = text.find('@');
    if (at == std::string_view::npos || at == 0 || at + 1 >= text.size()) return false;
    if (text.find('@', at + 1) != std::string_view::npos) return false;
    for (char c : text)
        if (static_cast<unsigned char>(c) <= ' ' || c == '<' || c == '>' || c == ',' || c == ';')
            return false;
    const std::string_view domain = text.substr(at + 1);
    return domain.front() != '.' && domain.back() != '.';
}

namespace {
bool isPort(std::string_view text) {
    if (text.empty() || text.size() > 5) return false;
    long port = 0;
    for (char c : text) {
        if (c < '0' || c > '9') return false;
        port = port * 10 + (c - '0');
    }
    return port >= 1 && port <= 65535;
}
} // namespace

bool IsServer(std::string_view text) {
    if (text.empty()) return false;
    for (char c : text)
        if (static_cast<unsigned char>(c) <= ' ') return false;
    const size_t colon = text.rfind(':');
    // A bracketed IPv6 address carries colons of its own.
    if (colon == std::string_view::npos || (text.front() == '[' && text.back() == ']')) return true;
    if (text.find(':') != colon && text.front() != '[') return true; // a bare IPv6 address
    return colon > 0 && isPort(text.substr(colon + 1));
}

std::optional<bool> TruthOf(std::string_view text) {
    const std::string t = LCase(Trim(std::string(text)));
    if (t == "true" || t == "yes" || t == "1" || t == "on" || t == "-1") return true;
    if (t == "false" || t == "no" || t == "0" || t == "off") return false;
    return std::nullopt;
}

std::optional<int> SecurityOf(std::string_view text) {
    const std::string t = LCase(Trim(std::string(text)));
    if (t == "0" || t == "none") return 0;
    if (t == "1" || t == "tls") return 1;
    if (t == "2" || t == "starttls") return 2;
    return std::nullopt;
}

std::string AccountValueProblem(const AccountKey& key, std::string_view value) {
    const std::string v = Trim(std::string(value));
    using K = AccountKey::Kind;
    switch (key.kind) {
    case K::Text:
        return "";
    case K::Required:
        return v.empty() ? key.emptyText : "";
    case K::Host:
        if (v.empty()) return key.emptyText;
        return IsServer(v) ? ""
                           : "\"" + v +
                                 "\" is not a server: write HOST or HOST:PORT, the "
                                 "port a number from 1 to 65535";
    case K::Address:
        return IsMailAddress(v) ? "" : BadAddressText;
    case K::Truth:
        return TruthOf(v) ? "" : std::string(key.name) + " takes true or false";
    case K::Port:
        return isPort(v) ? "" : std::string(key.name) + " takes a port from 1 to 65535";
    case K::Security:
        return SecurityOf(v) ? ""
                             : std::string(key.name) + " takes none, tls or starttls (0, 1 or 2)";
    }
    return "";
}

} // namespace corva
