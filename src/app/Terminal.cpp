#include "app/Terminal.h"

#include "core/TerminalText.h"

#include <cstdlib>
#include <cstring>
#include <iostream>
#include <string_view>
#include <sys/ioctl.h>
#include <unistd.h>

namespace corva::app {

OutputOptions& Output() {
    static OutputOptions options;
    return options;
}

std::string TakeOutputOptions(std::vector<std::string>& words, OutputOptions& options) {
    std::vector<std::string> kept;
    for (size_t i = 0; i < words.size(); ++i) {
        const std::string& w = words[i];
        if (w == "--quiet" || w == "-q") {
            options.verbosity = Verbosity::Quiet;
        } else if (w == "--verbose" || w == "-v") {
            options.verbosity = Verbosity::Verbose;
        } else if (w == "--color" || w == "--colour" || w.rfind("--color=", 0) == 0 ||
                   w.rfind("--colour=", 0) == 0) {
            const size_t eq = w.find('=');
            std::string when;
            if (eq != std::string::npos)
                when = w.substr(eq + 1);
            else if (i + 1 < words.size() && (words[i + 1] == "auto" || words[i + 1] == "always" ||
                                              words[i + 1] == "never"))
                when = words[++i];
            else
                when = "always"; // a bare --color asks for it; the next word is the command's
            if (when == "auto")
                options.colour = ColourMode::Auto;
            else if (when == "always")
                options.colour = ColourMode::Always;
            else if (when == "never")
                options.colour = ColourMode::Never;
            else
                return "--color needs auto, always or never, not \"" + when + "\"";
        } else {
            kept.push_back(w);
        }
    }
    words = std::move(kept);
    return "";
}

bool ColourWanted(ColourMode mode, bool terminal, const char* noColor, const char* term) {
    switch (mode) {
    case ColourMode::Always:
        return true;
    case ColourMode::Never:
        return false;
    case ColourMode::Auto:
        break;
    }
    if (!terminal) return false;
    if (noColor && *noColor) return false;
    if (term && std::string_view(term) == "dumb") return false;
    return true;
}

bool IsTerminal(int fd) {
    return ::isatty(fd) != 0;
}

bool ColourOnStdout() {
    return ColourWanted(Output().colour, IsTerminal(STDOUT_FILENO), std::getenv("NO_COLOR"),
                        std::getenv("TERM"));
}

bool ProgressOnOneLine() {
    const char* term = std::getenv("TERM");
    return IsTerminal(STDERR_FILENO) && !(term && std::strcmp(term, "dumb") == 0);
}

size_t TableWidth() {
    if (const char* columns = std::getenv("COLUMNS")) {
        const long n = std::atol(columns);
        if (n > 0) return static_cast<size_t>(n);
    }
    winsize size{};
    if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    // Not a terminal: nothing to fit, so columns keep the widths they want.
    return IsTerminal(STDOUT_FILENO) ? 80 : Unlimited;
}

} // namespace corva::app

namespace corva::app {

ProgressLine::ProgressLine() : oneLine_(ProgressOnOneLine()) {}

void ProgressLine::show(const std::string& text) {
    const Verbosity v = Output().verbosity;
    if (v == Verbosity::Quiet) return;
    if (v == Verbosity::Verbose) {
        std::cerr << text << "\n";
    } else if (oneLine_) {
        // Carriage return, the text, then erase what an older, longer one left.
        std::cerr << "\r" << cutToWidth(text, ProgressWidth() - 1) << "\x1b[K";
        shown_ = true;
        last_ = text;
    } else {
        return;
    }
    std::cerr.flush();
}

void ProgressLine::clear() {
    if (!shown_) return;
    std::cerr << "\r\x1b[K" << std::flush;
    shown_ = false;
}

void ProgressLine::restore() {
    if (!shown_ && !last_.empty() && oneLine_ && Output().verbosity == Verbosity::Normal)
        show(last_);
}

size_t ProgressWidth() {
    winsize size{};
    if (::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0) return size.ws_col;
    return 80;
}

} // namespace corva::app
