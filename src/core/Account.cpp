#include "core/Account.h"

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
    return text(*this, "PWD");
}

bool Account::checked(bool ifMissing) const {
    return sget(key("CHECK"), ifMissing).toBool();
}

bool Account::stopAtLast(bool ifMissing) const {
    return sget(key("STOPATLAST"), ifMissing).toBool();
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
    return text(*this, "SMTPPWD");
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
