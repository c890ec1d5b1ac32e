#include "core/Account.h"

#include "core/KeyringPasswords.h"
#include "core/Strings.h"
#include "core/Variant.h"
#include "core/mSHAREDSettings.h"

namespace corva {

namespace {

std::string text(const Account& a, const std::string& name) {
    return sget(a.key(name), "").toText();
}

} // namespace

std::string Account::key(const std::string& name) const {
    return name + std::to_string(number_);
}

std::string Account::title() const {
    return sget(key("TITLE"), defaultTitle(number_)).toText();
}

std::string Account::defaultTitle(int number) {
    return "Account " + std::to_string(number + 1);
}

std::string Account::server() const {
    return Trim(text(*this, "SERVER"));
}

std::string Account::userName() const {
    return text(*this, "UNAME");
}

std::string Account::password() const {
    return ReadPassword(*this, "PWD");
}

bool Account::checked(bool ifMissing) const {
    return sget(key("CHECK"), ifMissing).toBool();
}

bool Account::stopAtLast(bool ifMissing) const {
    return sget(key("STOPATLAST"), ifMissing).toBool();
}

namespace {

int securityValue(const Account& a, const std::string& name) {
    long v = sget(a.key(name), 0).toLong();
    return v == Account::Implicit || v == Account::StartTls ? static_cast<int>(v) : Account::Plain;
}

} // namespace

int Account::popSecurity() const {
    return securityValue(*this, "POPSECURITY");
}

int Account::smtpSecurity() const {
    return securityValue(*this, "SMTPSECURITY");
}

std::pair<std::string, int> Account::hostAndPort(const std::string& setting, int defaultPort) {
    std::string host = Trim(setting);
    size_t colon = host.rfind(':');
    // Only one colon (or a bracketed address before it) makes a port: a bare
    // IPv6 address is all host.
    bool bracketed = !host.empty() && host[0] == '[' && colon != std::string::npos && colon > 0 &&
                     host[colon - 1] == ']';
    if (colon == std::string::npos || (!bracketed && host.find(':') != colon))
        return {host, defaultPort};
    std::string portText = host.substr(colon + 1);
    bool digits = !portText.empty() && portText.size() <= 5 &&
                  portText.find_first_not_of("0123456789") == std::string::npos;
    int port = digits ? std::stoi(portText) : 0;
    if (port < 1 || port > 65535) return {host, defaultPort};
    host.erase(colon);
    if (bracketed) host = host.substr(1, host.size() - 2);
    return {host, port};
}

std::pair<std::string, int> Account::popAddress() const {
    return hostAndPort(server(), usualPopPort(popSecurity()));
}

std::pair<std::string, int> Account::smtpAddress() const {
    int port = static_cast<int>(sget(key("SMTPPort"), usualSmtpPort(smtpSecurity())).toLong());
    return hostAndPort(smtpServer(), port);
}

std::string Account::trustedCertificate(const std::string& role) const {
    // Kept as "host:port fingerprint", so trust ends when the server changes.
    const std::string value = text(*this, role + "TRUST");
    const auto [host, port] = role == "POP" ? popAddress() : smtpAddress();
    const std::string prefix = host + ":" + std::to_string(port) + " ";
    return StartsWith(value, prefix) ? value.substr(prefix.size()) : std::string();
}

void Account::setTrustedCertificate(const std::string& role, const std::string& fingerprint) const {
    const auto [host, port] = role == "POP" ? popAddress() : smtpAddress();
    sset(key(role + "TRUST"), host + ":" + std::to_string(port) + " " + fingerprint);
}

std::string Account::smtpServer() const {
    return text(*this, "SMTP");
}

int Account::smtpPort() const {
    return static_cast<int>(sget(key("SMTPPort"), 25).toLong());
}

bool Account::smtpAuth() const {
    return sget(key("SMTPAuth"), false).toBool();
}

std::string Account::smtpUserName() const {
    return text(*this, "SMTPUNAME");
}

std::string Account::smtpPassword() const {
    return ReadPassword(*this, "SMTPPWD");
}

std::string Account::replyAddress() const {
    return text(*this, "REPLYADDRESS");
}

std::string Account::displayName() const {
    return text(*this, "DISPLAYNAME");
}

std::string Account::exclusive(int index) const {
    return text(*this, "EXCLUSIVE" + std::to_string(index) + "_");
}

int Account::firstWithReplyAddress(int fromIndex) {
    for (int i = fromIndex < 0 ? 0 : fromIndex; i < Count; ++i)
        if (!Account(i).replyAddress().empty()) return i;
    return -1;
}

} // namespace corva
