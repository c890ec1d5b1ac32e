// What an account's settings may hold, with the texts the account wizard
// shows, so that the wizard and the command line refuse the same values in
// the same words.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace corva {

// One per-account key as a user may type it.
struct AccountKey {
    enum class Kind { Text, Required, Host, Address, Truth, Port, Security };
    const char* name;  // as the file spells it, without the number: "SMTPAuth"
    const char* alias; // the command line's friendlier name, or ""
    Kind kind;
    const char* emptyText; // the wizard's text when a required value is empty
};

// Every per-account key, in the order of the settings table.
const std::vector<AccountKey>& AccountKeys();
// The key a user typed, in any case, by its name ("smtpauth") or alias
// ("smtp-user"); nothing when there is no such key.
std::optional<AccountKey> FindAccountKey(std::string_view typed);

// local@domain with something on both sides, no blanks, one "@".
bool IsMailAddress(std::string_view text);
// "host" or "host:port" with a port from 1 to 65535.
bool IsServer(std::string_view text);
// A truth value as a user types it (true/false, yes/no, 1/0, on/off), in any case.
std::optional<bool> TruthOf(std::string_view text);
// A connection's security as a user types it: 0 or none, 1 or tls, 2 or starttls.
std::optional<int> SecurityOf(std::string_view text);

// What is wrong with the value for key, in the wizard's words, or "".
std::string AccountValueProblem(const AccountKey& key, std::string_view value);

// The wizard's texts, shared with its pages.
inline constexpr const char* NoUserNameText = "Please specify a user name";
inline constexpr const char* BadAddressText =
    "Please specify a valid email address, e.g. fred@example.com";
inline constexpr const char* NoInboundText = "Please specify an Inbound Mail Server";
inline constexpr const char* NoOutboundText = "Please specify an Outbound Mail Server";
inline constexpr const char* NoLoginText =
    "Please specify the username you log into your mail server with";
inline constexpr const char* NoTitleText = "Please specify a title for this mail account";

} // namespace corva
