// One mail account as the settings keep it. Account n's keys are the key name
// followed by n (SERVER0, EXCLUSIVE1_3); nothing says how many are in use: an
// account receives when its SERVER is filled in.
#pragma once

#include <string>
#include <utility>

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

    // Connection security of either server: 0 none (the dialogue as it
    // always was), 1 TLS from the first byte, 2 STLS or STARTTLS. Keys
    // POPSECURITY and SMTPSECURITY; missing or unknown values are 0.
    enum Security { Plain = 0, Implicit = 1, StartTls = 2 };
    int popSecurity() const;
    int smtpSecurity() const;
    // The ports each choice usually takes.
    static int usualPopPort(int security) { return security == Implicit ? 995 : 110; }
    static int usualSmtpPort(int security) {
        return security == Implicit ? 465 : security == StartTls ? 587 : 25;
    }
    // A server setting "host:port" names its port; a plain host (or a bare
    // IPv6 address) takes the default.
    static std::pair<std::string, int> hostAndPort(const std::string& setting, int defaultPort);
    // Where the POP3 session connects: the port of host:port, else the usual one.
    std::pair<std::string, int> popAddress() const;
    // Where mail goes out: the port of host:port, else SMTPPort, else the usual one.
    std::pair<std::string, int> smtpAddress() const;

    // The certificate fingerprint the user trusted for a server ("POP" or
    // "SMTP"), or "" when none is trusted for the host and port now set.
    std::string trustedCertificate(const std::string& role) const;
    void setTrustedCertificate(const std::string& role, const std::string& fingerprint) const;

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
