// The command-line face: each command registers itself from its own file with
// a static CommandRegistration, and main dispatches on the first word.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace corva::app {

// The words after the command's name, with helpers for flags and options.
class CommandArgs {
public:
    explicit CommandArgs(std::vector<std::string> words) : words_(std::move(words)) {}
    // True (and consumed) when the flag is present.
    bool flag(const std::string& name);
    // The value after an option ("--account 3"), consumed; empty when absent.
    std::optional<std::string> option(const std::string& name);
    // Every value of a repeatable option, consumed.
    std::vector<std::string> options(const std::string& name);
    // What is left once flags and options are consumed, in order.
    const std::vector<std::string>& rest() const { return words_; }
    // Left-over words that look like options: the caller reports them as unknown.
    std::vector<std::string> unknownOptions() const;

private:
    std::vector<std::string> words_;
};

// Takes the one FILE argument a command expects and reads it. On an unknown
// option or a wrong count it prints the usage and gives 2; on an unreadable
// file it says so and gives 1; otherwise it gives nothing and fills both.
std::optional<int> readOneFile(CommandArgs& args, const std::string& usage, std::string& file,
                               std::string& text);

struct Command {
    const char* name;
    const char* usage;   // "corva scan [--account N]"
    const char* summary; // one line for corva --help
    const char* help;    // the rest of corva help NAME, may be ""
    int (*run)(CommandArgs& args);
};

struct CommandRegistration {
    explicit CommandRegistration(const Command& command);
};

const std::vector<Command>& Commands();

// The program folder chosen by --home (already taken from the arguments by main).
const std::string& HomeOption();
void SetHomeOption(const std::string& home);

} // namespace corva::app
