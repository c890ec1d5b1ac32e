// "corva account": sets up the mail accounts without a window, every value
// tested as the account wizard tests it.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "app/Json.h"
#include "app/Table.h"
#include "app/Terminal.h"
#include "core/Account.h"
#include "core/AccountRules.h"
#include "core/KeyringPasswords.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "core/mSHAREDSettings.h"
#include "cycle/frmMainView.h"

#include <iostream>

namespace corva::app {
namespace {

constexpr const char* Usage =
    "corva account add --title T --server HOST[:PORT] --user U --password P|- --address ADDR\n"
    "                  [--name NAME] [--smtp HOST[:PORT]] [--smtp-user U --smtp-password P]\n"
    "       corva account list [--tabs|--json]\n"
    "       corva account set N --KEY VALUE...\n"
    "       corva account remove N";

// A command has no window to show the first-run wizard in.
class Quiet : public frmMainView {};

bool used(int n) {
    const Account a(n);
    return !a.server().empty() || !a.smtpServer().empty() || !a.replyAddress().empty() ||
           !sget(a.key("TITLE"), "").toText().empty();
}

// The value as the file keeps it: truth values and numbers as such.
Variant stored(const AccountKey& key, const std::string& value) {
    switch (key.kind) {
    case AccountKey::Kind::Truth:
        return Variant(*TruthOf(value));
    case AccountKey::Kind::Port:
        return Variant(std::stoi(Trim(value)));
    case AccountKey::Kind::Security:
        return Variant(*SecurityOf(value));
    case AccountKey::Kind::Text:
        return Variant(value); // passwords may begin or end with a blank
    default:
        return Variant(Trim(value));
    }
}

// "-" for a password: one line from standard input, so it stays out of the process list.
std::string passwordValue(const std::string& value) {
    if (value != "-") return value;
    std::string line;
    std::getline(std::cin, line);
    if (!line.empty() && line.back() == '\r') line.pop_back();
    return line;
}

bool save() {
    savesettings();
    if (!Settings().lastSaveFailed()) return true;
    std::cerr << "corva account: could not write " << SettingsFilePath() << "\n";
    return false;
}

struct Change {
    AccountKey key;
    std::string value;
};

// Tests every change before any is made, so a refused command changes nothing.
std::optional<int> refusedChanges(const std::vector<Change>& changes) {
    for (const auto& c : changes) {
        std::string problem = AccountValueProblem(c.key, c.value);
        if (!problem.empty()) return RefuseWith("account", problem);
    }
    return std::nullopt;
}

// "" when every change was made; else why the keyring took no part.
std::string applyChanges(int n, const std::vector<Change>& changes) {
    const Account a(n);
    std::optional<bool> keyring;
    for (const auto& c : changes) {
        const std::string name = c.key.name;
        // Passwords go where the account keeps them; the keyring choice moves
        // them after every other change, new passwords included.
        if (name == "KEYRING") {
            keyring = stored(c.key, c.value).toBool();
            continue;
        }
        if (name == "PWD" || name == "SMTPPWD") {
            if (std::string why = WritePassword(a, name, c.value); !why.empty()) return why;
            continue;
        }
        // A server written host:port for sending keeps its port in SMTPPort.
        if (std::string(c.key.name) == "SMTP") {
            const std::string v = Trim(c.value);
            const size_t colon = v.rfind(':');
            if (colon != std::string::npos && v.find(':') == colon) {
                sset(a.key("SMTP"), v.substr(0, colon));
                sset(a.key("SMTPPort"), std::stoi(v.substr(colon + 1)));
                continue;
            }
        }
        sset(a.key(c.key.name), stored(c.key, c.value));
    }
    return keyring ? KeepPasswordsInKeyring(a, *keyring) : "";
}

bool reported(const std::string& problem) {
    if (!problem.empty()) std::cerr << "corva account: " << problem << "\n";
    return problem.empty();
}

int add(CommandArgs& args) {
    struct Wanted {
        const char* option;
        const char* key;
        bool required;
    };
    const Wanted wanted[] = {
        {"--title", "TITLE", true},
        {"--server", "SERVER", true},
        {"--user", "UNAME", true},
        {"--password", "PWD", true},
        {"--address", "REPLYADDRESS", true},
        {"--name", "DISPLAYNAME", false},
        {"--smtp", "SMTP", false},
        {"--smtp-user", "SMTPUNAME", false},
        {"--smtp-password", "SMTPPWD", false},
    };
    std::vector<Change> changes;
    std::vector<std::string> missing;
    for (const auto& w : wanted) {
        auto value = args.option(w.option);
        if (!value) {
            if (w.required) missing.push_back(w.option);
            continue;
        }
        if (std::string(w.key) == "PWD" || std::string(w.key) == "SMTPPWD")
            value = passwordValue(*value);
        changes.push_back({*FindAccountKey(w.key), *value});
    }
    if (!missing.empty()) args.problem("missing " + Join(missing, ", "));
    if (auto status = args.refused(Usage, 1, 1)) return *status;
    auto has = [&](const char* key) {
        for (const auto& c : changes)
            if (std::string(c.key.name) == key) return true;
        return false;
    };
    if (has("SMTPUNAME") != has("SMTPPWD"))
        return RefuseWith("account", "--smtp-user and --smtp-password go together");
    if (auto refused = refusedChanges(changes)) return *refused;

    Quiet view;
    HeadlessSession session(view, frmMain::AutoScan::Off);
    int n = 0;
    while (n < Account::Count && used(n)) ++n;
    if (n == Account::Count) {
        std::cerr << "corva account: all " << Account::Count << " accounts are in use\n";
        return 1;
    }
    changes.push_back({*FindAccountKey("CHECK"), "true"});
    if (has("SMTPUNAME")) changes.push_back({*FindAccountKey("SMTPAuth"), "true"});
    const std::string problem = applyChanges(n, changes);
    if (!save() || !reported(problem)) return 1;
    std::cout << "Added account " << n << ": " << terminalLine(Account(n).title()) << "\n";
    return 0;
}

int list(CommandArgs& args) {
    const bool tabs = args.flag("--tabs");
    const bool json = args.flag("--json");
    if (auto status = args.refused(Usage, 1, 1)) return *status;
    Quiet view;
    HeadlessSession session(view, frmMain::AutoScan::Off);
    std::vector<TableColumn> columns{
        {"N", 2, false},       {"Title", 16, true}, {"Server", 22, true}, {"User", 14, true},
        {"Address", 24, true}, {"SMTP", 22, true},  {"Check", 5, false}};
    const Table table = tabs ? Table(columns) : Table(columns, TableWidth());
    if (!tabs && !json) std::cout << table.heading() << "\n";
    std::string objects;
    int count = 0;
    for (int n = 0; n < Account::Count; ++n) {
        if (!used(n)) continue;
        ++count;
        const Account a(n);
        std::string smtp = a.smtpServer();
        if (!smtp.empty() && a.smtpPort() != 25) smtp += ":" + std::to_string(a.smtpPort());
        if (json) {
            objects += std::string(objects.empty() ? "\n  " : ",\n  ") +
                       JsonObject()
                           .integer("number", n)
                           .text("title", a.title())
                           .text("server", a.server())
                           .text("user", a.userName())
                           .text("address", a.replyAddress())
                           .text("name", a.displayName())
                           .text("smtp", a.smtpServer())
                           .integer("smtpPort", a.smtpPort())
                           .truth("smtpAuth", a.smtpAuth())
                           .text("smtpUser", a.smtpUserName())
                           .truth("check", a.checked())
                           .str();
            continue;
        }
        std::cout << table.row({std::to_string(n), terminalLine(a.title()),
                                terminalLine(a.server()), terminalLine(a.userName()),
                                terminalLine(a.replyAddress()), terminalLine(smtp),
                                a.checked() ? "yes" : "no"})
                  << "\n";
    }
    if (json)
        std::cout << "[" << objects << (objects.empty() ? "" : "\n") << "]\n";
    else if (count == 0 && !tabs)
        std::cerr << "No accounts yet: 'corva account add' sets one up.\n";
    return 0;
}

// N, the first word after the verb: an account that exists.
std::optional<int> accountNumber(CommandArgs& args, int& n) {
    if (args.rest().size() < 2) return args.refused(Usage, 2);
    const std::string& t = args.rest()[1];
    if (t.empty() || t.size() > 2 || t.find_first_not_of("0123456789") != std::string::npos ||
        !Account::isNumber(std::stoi(t)))
        return RefuseWith("account", "N is an account number from 0 to " +
                                         std::to_string(Account::Last) + ", not \"" + t + "\"");
    n = std::stoi(t);
    return std::nullopt;
}

int set(CommandArgs& args) {
    int n = 0;
    if (auto status = accountNumber(args, n)) return *status;
    // Every word after N: --KEY VALUE or --KEY=VALUE, KEY in any case.
    const std::vector<std::string> words(args.rest().begin() + 2, args.rest().end());
    std::vector<Change> changes;
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string& w = words[i];
        if (!StartsWith(w, "--"))
            return RefuseWith("account", "expected --KEY VALUE, not \"" + w + "\"");
        const size_t eq = w.find('=');
        const std::string typed = w.substr(2, eq == std::string::npos ? std::string::npos : eq - 2);
        auto key = FindAccountKey(typed);
        if (!key)
            return RefuseWith("account",
                              "no account key \"" + typed + "\"; 'corva help account' lists them");
        std::string value;
        if (eq != std::string::npos) {
            value = w.substr(eq + 1);
        } else if (i + 1 < words.size()) {
            value = words[++i];
        } else {
            return RefuseWith("account", w + " needs a value");
        }
        if (std::string(key->name) == "PWD" || std::string(key->name) == "SMTPPWD")
            value = passwordValue(value);
        changes.push_back({*key, value});
    }
    if (changes.empty()) return RefuseWith("account", "nothing to set: give --KEY VALUE");
    if (auto refused = refusedChanges(changes)) return *refused;
    Quiet view;
    HeadlessSession session(view, frmMain::AutoScan::Off);
    if (!used(n))
        return RefuseWith("account", "there is no account " + std::to_string(n) +
                                         "; 'corva account list' shows the accounts");
    const std::string problem = applyChanges(n, changes);
    if (!save() || !reported(problem)) return 1;
    for (const auto& c : changes) std::cout << "Set " << Account(n).key(c.key.name) << "\n";
    return 0;
}

int remove(CommandArgs& args) {
    int n = 0;
    if (auto status = accountNumber(args, n)) return *status;
    if (auto status = args.refused(Usage, 2, 2)) return *status;
    Quiet view;
    HeadlessSession session(view, frmMain::AutoScan::Off);
    if (!used(n))
        return RefuseWith("account", "there is no account " + std::to_string(n) +
                                         "; 'corva account list' shows the accounts");
    const std::string title = Account(n).title();
    KeepPasswordsInKeyring(Account(n), false); // so no entry outlives the account
    for (const auto& key : AccountKeys()) Settings().DeleteSettingByName(Account(n).key(key.name));
    if (!save()) return 1;
    std::cout << "Removed account " << n << ": " << terminalLine(title) << "\n";
    return 0;
}

int run(CommandArgs& args) {
    const std::string verb = args.rest().empty() ? "" : args.rest().front();
    if (verb == "add") return add(args);
    if (verb == "list") return list(args);
    if (verb == "set") return set(args);
    if (verb == "remove") return remove(args);
    if (verb.empty())
        args.problem("missing add, list, set or remove");
    else
        args.problem("unknown '" + verb + "': add, list, set or remove");
    return *args.refused(Usage);
}

const CommandRegistration registration({
    "account",
    Usage,
    "Add, list, change or remove mail accounts",
    "add takes the first free account (0 to 19) and includes it when checking\n"
    "mail. The password is kept in Corva.ini as typed; \"-\" reads it from one line\n"
    "of standard input. --smtp HOST:PORT keeps the port as SMTPPort. Values are\n"
    "tested as the account wizard tests them (\"Please specify an Inbound Mail\n"
    "Server\" ...), and a refused command changes nothing (exit status 2).\n"
    "list shows every account in use with its number; --tabs gives whole fields\n"
    "separated by tabs, --json a list of objects with \"number\", \"title\", \"server\",\n"
    "\"user\", \"address\", \"name\", \"smtp\", \"smtpPort\", \"smtpAuth\", \"smtpUser\" and\n"
    "\"check\" (passwords are never shown).\n"
    "set N changes keys of an existing account. KEY is the key of Corva.ini\n"
    "without the number, in any case, or its name in add:\n"
    "  TITLE (title), SERVER (server), UNAME (user), PWD (password), CHECK (check,\n"
    "  true or false), STOPATLAST (stop-at-last), SMTP (smtp), SMTPAuth (smtp-auth),\n"
    "  SMTPUNAME (smtp-user), SMTPPWD (smtp-password), REPLYADDRESS (address),\n"
    "  DISPLAYNAME (name), EXCLUSIVE0_ and EXCLUSIVE1_ (the two \"Ignore mail not\n"
    "  addressed to\" texts), SMTPPort (smtp-port), POPSECURITY (pop-security) and\n"
    "  SMTPSECURITY (smtp-security): none, tls or starttls (0, 1 or 2), and\n"
    "  KEYRING (keyring): 1 keeps both passwords in the desktop keyring (Secret\n"
    "  Service or KWallet) instead of Corva.ini, 0 moves them back. When no\n"
    "  keyring answers, the command says so, exits 1 and the passwords stay.\n"
    "remove N deletes every key of account N.",
    run,
});

} // namespace
} // namespace corva::app
