#include "app/Command.h"

#include "core/Account.h"
#include "core/FileSubs.h"
#include "core/Strings.h"

#include <algorithm>
#include <iostream>

namespace corva::app {

namespace {
std::vector<Command>& registry() {
    static std::vector<Command> commands;
    return commands;
}
std::string& home() {
    static std::string h;
    return h;
}
} // namespace

bool CommandArgs::flag(const std::string& name) {
    auto it = std::find(words_.begin(), words_.end(), name);
    if (it == words_.end()) return false;
    words_.erase(it);
    return true;
}

std::optional<std::string> CommandArgs::option(const std::string& name, const std::string& what) {
    for (size_t i = 0; i < words_.size(); ++i) {
        if (words_[i] == name) {
            // "-" alone is a value (standard input); "--x" is the next option.
            if (i + 1 >= words_.size() || StartsWith(words_[i + 1], "--")) {
                problem(name + " needs " + what);
                words_.erase(words_.begin() + static_cast<long>(i));
                return std::nullopt;
            }
            std::string value = words_[i + 1];
            words_.erase(words_.begin() + static_cast<long>(i),
                         words_.begin() + static_cast<long>(i) + 2);
            return value;
        }
        if (words_[i].rfind(name + "=", 0) == 0) {
            std::string value = words_[i].substr(name.size() + 1);
            words_.erase(words_.begin() + static_cast<long>(i));
            if (value.empty()) {
                problem(name + " needs " + what);
                return std::nullopt;
            }
            return value;
        }
    }
    return std::nullopt;
}

std::vector<std::string> CommandArgs::options(const std::string& name, const std::string& what) {
    std::vector<std::string> values;
    for (;;) {
        const size_t before = words_.size();
        auto v = option(name, what);
        if (v) values.push_back(*v);
        if (words_.size() == before) return values;
    }
}

std::optional<int> CommandArgs::account(const std::string& name) {
    auto text = option(name, "a number");
    if (!text) return std::nullopt;
    const std::string t = Trim(*text);
    if (t.empty() || t.size() > 2 || t.find_first_not_of("0123456789") != std::string::npos ||
        !Account::isNumber(std::stoi(t))) {
        problem(name + " takes an account number from 0 to " + std::to_string(Account::Last) +
                ", not \"" + *text + "\"");
        return std::nullopt;
    }
    return std::stoi(t);
}

std::optional<int> CommandArgs::refused(const std::string& usage, size_t minWords,
                                        size_t maxWords) {
    const std::string prefix = "corva" + (command_.empty() ? std::string() : " " + command_) + ": ";
    bool bad = false;
    for (const auto& p : problems_) {
        std::cerr << prefix << p << "\n";
        bad = true;
    }
    for (const auto& u : unknownOptions()) {
        std::cerr << prefix << "unknown option " << u << "\n";
        bad = true;
    }
    const size_t count = words_.size();
    if (!bad && count < minWords) {
        std::cerr << prefix << (count == 0 ? "missing arguments" : "too few arguments") << "\n";
        bad = true;
    }
    if (!bad && count > maxWords) {
        std::cerr << prefix << "unexpected '" << words_[maxWords] << "'\n";
        bad = true;
    }
    if (!bad) return std::nullopt;
    std::cerr << "Usage: " << usage << "\n";
    return 2;
}

int RefuseWith(const std::string& command, const std::string& text) {
    std::cerr << "corva " << command << ": " << text << "\n";
    return 2;
}

std::vector<std::string> CommandArgs::unknownOptions() const {
    std::vector<std::string> unknown;
    for (const auto& w : words_)
        if (w.size() > 1 && w[0] == '-') unknown.push_back(w);
    return unknown;
}

std::optional<int> readOneFile(CommandArgs& args, const std::string& usage, std::string& file,
                               std::string& text) {
    if (auto status = args.refused(usage, 1, 1)) return status;
    file = args.rest().front();
    if (!FileExists(file) || !LoadTextFile(file, text)) {
        std::cerr << "Can't read " << file << "\n";
        return 1;
    }
    return std::nullopt;
}

std::optional<int> fileNames(CommandArgs& args, const std::string& usage,
                             std::vector<std::string>& names) {
    if (auto status = args.refused(usage, 1)) return status;
    names.clear();
    for (const auto& word : args.rest()) {
        if (word != "-") {
            names.push_back(word);
            continue;
        }
        std::string line;
        while (std::getline(std::cin, line)) {
            if (!line.empty() && line.back() == '\r') line.pop_back();
            if (!line.empty()) names.push_back(line);
        }
    }
    return std::nullopt;
}

CommandRegistration::CommandRegistration(const Command& command) {
    registry().push_back(command);
}

const std::vector<Command>& Commands() {
    auto& commands = registry();
    std::sort(commands.begin(), commands.end(),
              [](const Command& a, const Command& b) { return std::string(a.name) < b.name; });
    return commands;
}

const std::string& HomeOption() {
    return home();
}
void SetHomeOption(const std::string& h) {
    home() = h;
}

} // namespace corva::app
