// One mail account as the settings keep it. Account n's keys are the key name
// followed by n (SERVER0, EXCLUSIVE1_3); nothing says how many are in use: an
// account receives when its SERVER is filled in.
#pragma once

#include <string>

namespace corva {

class Account {
public:
    // The slots, numbered 0 to Count - 1.
    static constexpr int Count = 20;
    static constexpr int Last = Count - 1;
    static bool isNumber(int number) { return number >= 0 && number < Count; }

    explicit Account(int number) : number_(number) {}
    int number() const { return number_; }
    // The key name with this account's number on it.
    std::string key(const std::string& name) const;

    // The title; defaultTitle when none was given.
    std::string title() const;
    // "Account " and the number plus 1.
    static std::string defaultTitle(int number);
    // The POP3 host, trimmed; may name its port after a colon.
    std::string server() const;
    std::string userName() const;
    // Empty means ask at each connection.
    std::string password() const;
    // Include this account when checking mail. The session takes a missing
    // key as yes, the settings dialog as no.
    bool checked(bool ifMissing = true) const;
    // Time out after the last message; a missing key as for checked.
    bool stopAtLast(bool ifMissing = true) const;

    std::string smtpServer() const;
    int smtpPort() const; // 25 unless set
    bool smtpAuth() const;
    std::string smtpUserName() const;
    std::string smtpPassword() const;

    std::string replyAddress() const;
    std::string displayName() const;
    // The two "Ignore mail not addressed to" texts, index 0 or 1.
    std::string exclusive(int index) const;

    // The first account from fromIndex on with a reply address, or -1.
    static int firstWithReplyAddress(int fromIndex = 0);

private:
    int number_;
};

} // namespace corva
