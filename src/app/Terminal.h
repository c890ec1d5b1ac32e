// How the commands speak to the terminal: colour, how much goes to standard
// error, and the width a table may take. Chosen once per run from the global
// options and the environment.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace corva::app {

enum class ColourMode { Auto, Always, Never };
enum class Verbosity { Quiet, Normal, Verbose };

struct OutputOptions {
    ColourMode colour = ColourMode::Auto;
    Verbosity verbosity = Verbosity::Normal;
};

// The options of the run, taken by main before the command sees its words.
OutputOptions& Output();

// Takes --color[=WHEN] (also --colour), --quiet/-q and --verbose/-v from a
// command's words wherever they stand. Gives what is wrong, or "".
std::string TakeOutputOptions(std::vector<std::string>& words, OutputOptions& options);

// Colour for a stream: "always" whatever the stream, "never" never; "auto"
// only on a terminal and never with NO_COLOR set (to anything) or TERM=dumb.
bool ColourWanted(ColourMode mode, bool terminal, const char* noColor, const char* term);
bool ColourOnStdout();

bool IsTerminal(int fd);
// Progress on one line that rewrites itself: standard error is a terminal
// that can move the cursor.
bool ProgressOnOneLine();

// The cells a table on standard output may take: $COLUMNS when set, else the
// terminal's width; Unlimited when standard output is not a terminal.
inline constexpr size_t Unlimited = static_cast<size_t>(-1);
size_t TableWidth();
// The width of the terminal on standard error, for the progress line; 80 when unknown.
size_t ProgressWidth();

// Progress on standard error as the options and the stream allow: one line
// that rewrites itself on a terminal, a line per step with --verbose, nothing
// with --quiet or (between summaries) off a terminal.
class ProgressLine {
public:
    ProgressLine();
    // text is terminal text already (decoded, one line).
    void show(const std::string& text);
    // Takes the line away before other output, so nothing is written over it.
    void clear();
    // Puts the last text back after that output: the line would otherwise
    // stand empty while the next step waits on a server.
    void restore();

private:
    bool oneLine_;
    bool shown_ = false;
    std::string last_;
};

} // namespace corva::app
