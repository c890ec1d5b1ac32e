// The command-line face: each command registers itself from its own file with
// a static CommandRegistration, and main dispatches on the first word.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace corva::app {

// The words after the command's name, with helpers for flags and options.
// A problem found while taking them (an option without its value) is kept
// and reported by refused(), with the unknown options, before any work.
class CommandArgs {
public:
    explicit CommandArgs(std::vector<std::string> words, std::string command = "")
        : words_(std::move(words)), command_(std::move(command)) {}
    // True (and consumed) when the flag is present.
    bool flag(const std::string& name);
    // The value after an option ("--account 3" or "--account=3"), consumed;
    // empty when absent. Present without a value (last word, or another
    // option follows) it records "NAME needs WHAT".
    std::optional<std::string> option(const std::string& name, const std::string& what = "a value");
    // Every value of a repeatable option, consumed.
    std::vector<std::string> options(const std::string& name, const std::string& what = "a value");
    // --account N (or the option named): absent, or a number from 0 to 19;
    // anything else is recorded as a problem.
    std::optional<int> account(const std::string& name = "--account");
    // Records a problem with the words, reported by refused().
    void problem(const std::string& text) { problems_.push_back(text); }
    // What is left once flags and options are consumed, in order.
    const std::vector<std::string>& rest() const { return words_; }
    // Left-over words that look like options: the caller reports them as unknown.
    std::vector<std::string> unknownOptions() const;
    // After taking the options: prints each problem, each unknown option and
    // a wrong count of remaining words with the usage, and gives 2; nothing
    // when all is well.
    std::optional<int> refused(const std::string& usage, size_t minWords = 0,
                               size_t maxWords = static_cast<size_t>(-1));
    const std::string& command() const { return command_; }

private:
    std::vector<std::string> words_;
    std::string command_;
    std::vector<std::string> problems_;
};

// "corva NAME: text" on stderr, and the status 2 of a refused command line.
int RefuseWith(const std::string& command, const std::string& text);

// Takes the one FILE argument a command expects and reads it. On an unknown
// option or a wrong count it prints the usage and gives 2; on an unreadable
// file it says so and gives 1; otherwise it gives nothing and fills both.
std::optional<int> readOneFile(CommandArgs& args, const std::string& usage, std::string& file,
                               std::string& text);

// The FILE... arguments of a bulk command, after the options: the names
// given, or with "-" the names read from standard input, one a line. Gives 2
// (with the usage printed) when there are none.
std::optional<int> fileNames(CommandArgs& args, const std::string& usage,
                             std::vector<std::string>& names);

struct Command {
    const char* name;
    const char* usage;   // "corva scan [--account N]"
    const char* summary; // one line for corva --help
    const char* help;    // the rest of corva help NAME, may be ""
    int (*run)(CommandArgs& args);
    // Developer tools are listed under their own heading in the help.
    bool developer = false;
};

struct CommandRegistration {
    explicit CommandRegistration(const Command& command);
};

const std::vector<Command>& Commands();

// The program folder chosen by --home (already taken from the arguments by main).
const std::string& HomeOption();
void SetHomeOption(const std::string& home);

} // namespace corva::app
