// The one reading of corva's arguments, shared by the windows and the
// commands, so that both take --home the same way and a mail link is never
// mistaken for a command (nor an option for a mail link).
#pragma once

#include <string>
#include <vector>

namespace corva::app {

struct Invocation {
    enum class Face { Windows, Command, Help, Version, Error };
    Face face = Face::Windows;
    // "--home DIR" or "--home=DIR", wherever it stands; "" when not given.
    std::string home;
    // Command: the command's name and its words. Help: the command asked about, if any.
    std::vector<std::string> words;
    // Windows: the mail link or .eml path to open at start, as given.
    std::string startLine;
    // Error: what was wrong, for the user.
    std::string error;
};

// args are the words after the program's name.
Invocation ParseCommandLine(const std::vector<std::string>& args);

// A mail link ("mailto:", "/mailto:") or a mail file, which the windows open.
bool IsWindowArgument(const std::string& word);

} // namespace corva::app
