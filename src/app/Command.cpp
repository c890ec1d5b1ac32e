#include "app/Command.h"

#include "core/FileSubs.h"

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

std::optional<std::string> CommandArgs::option(const std::string& name) {
    for (size_t i = 0; i < words_.size(); ++i) {
        if (words_[i] == name && i + 1 < words_.size()) {
            std::string value = words_[i + 1];
            words_.erase(words_.begin() + static_cast<long>(i),
                         words_.begin() + static_cast<long>(i) + 2);
            return value;
        }
        if (words_[i].rfind(name + "=", 0) == 0) {
            std::string value = words_[i].substr(name.size() + 1);
            words_.erase(words_.begin() + static_cast<long>(i));
            return value;
        }
    }
    return std::nullopt;
}

std::vector<std::string> CommandArgs::options(const std::string& name) {
    std::vector<std::string> values;
    while (auto v = option(name)) values.push_back(*v);
    return values;
}

std::vector<std::string> CommandArgs::unknownOptions() const {
    std::vector<std::string> unknown;
    for (const auto& w : words_)
        if (w.size() > 1 && w[0] == '-') unknown.push_back(w);
    return unknown;
}

std::optional<int> readOneFile(CommandArgs& args, const std::string& usage, std::string& file,
                               std::string& text) {
    auto unknown = args.unknownOptions();
    if (!unknown.empty() || args.rest().size() != 1) {
        for (const auto& u : unknown) std::cerr << "Unknown option: " << u << "\n";
        std::cerr << "Usage: " << usage << "\n";
        return 2;
    }
    file = args.rest().front();
    if (!FileExists(file) || !LoadTextFile(file, text)) {
        std::cerr << "Can't read " << file << "\n";
        return 1;
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
