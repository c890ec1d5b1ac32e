#include "platform/ConsolePrompts.h"

#include <cctype>
#include <iostream>
#include <termios.h>
#include <unistd.h>

namespace corva::platform {

namespace {

std::string readLine(bool echo) {
    termios old{};
    bool restore = false;
    if (!echo && tcgetattr(STDIN_FILENO, &old) == 0) {
        termios quiet = old;
        quiet.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        restore = tcsetattr(STDIN_FILENO, TCSANOW, &quiet) == 0;
    }
    std::string line;
    std::getline(std::cin, line);
    if (restore) {
        tcsetattr(STDIN_FILENO, TCSANOW, &old);
        std::cerr << "\n";
    }
    return line;
}

char firstLower(const std::string& s) {
    for (char c : s)
        if (!std::isspace(static_cast<unsigned char>(c)))
            return static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return 0;
}

} // namespace

ConsolePrompts::ConsolePrompts(bool assumeYes) : assumeYes_(assumeYes) {}

bool ConsolePrompts::interactive() const {
    return isatty(STDIN_FILENO) && isatty(STDERR_FILENO);
}

Answer ConsolePrompts::messageBox(const std::string& text, Buttons buttons, Icon,
                                  const std::string& title) {
    std::cerr << (title.empty() ? "" : title + ": ") << text << "\n";
    bool yesNo = buttons == Buttons::YesNo || buttons == Buttons::YesNoCancel;
    if (yesNo && assumeYes_) return Answer::Yes;
    if (buttons == Buttons::Ok) return Answer::Ok;
    if (!interactive()) return cautiousAnswer(buttons);
    switch (buttons) {
    case Buttons::YesNo:
        std::cerr << "[y/N] ";
        break;
    case Buttons::YesNoCancel:
        std::cerr << "[y/n/C] ";
        break;
    case Buttons::OkCancel:
        std::cerr << "[o/C] ";
        break;
    case Buttons::RetryCancel:
        std::cerr << "[r/C] ";
        break;
    case Buttons::AbortRetryIgnore:
        std::cerr << "[A/r/i] ";
        break;
    default:
        break;
    }
    char c = firstLower(readLine(true));
    switch (buttons) {
    case Buttons::YesNo:
        return c == 'y' ? Answer::Yes : Answer::No;
    case Buttons::YesNoCancel:
        return c == 'y' ? Answer::Yes : c == 'n' ? Answer::No : Answer::Cancel;
    case Buttons::OkCancel:
        return c == 'o' ? Answer::Ok : Answer::Cancel;
    case Buttons::RetryCancel:
        return c == 'r' ? Answer::Retry : Answer::Cancel;
    case Buttons::AbortRetryIgnore:
        return c == 'r' ? Answer::Retry : c == 'i' ? Answer::Ignore : Answer::Abort;
    default:
        return Answer::Ok;
    }
}

PasswordReply ConsolePrompts::askPassword(const std::string& prompt) {
    if (!interactive()) return {"", true, false};
    std::cerr << prompt << ": ";
    PasswordReply reply;
    reply.text = readLine(false);
    std::cerr << "Remember this password? [y/N] ";
    reply.remember = firstLower(readLine(true)) == 'y';
    return reply;
}

std::optional<std::string> ConsolePrompts::inputBox(const std::string& prompt,
                                                    const std::string& title,
                                                    const std::string& defaultText) {
    if (!interactive()) return std::nullopt;
    std::cerr << (title.empty() ? "" : title + ": ") << prompt << " [" << defaultText << "] ";
    std::string line = readLine(true);
    if (!std::cin) return std::nullopt;
    return line.empty() ? defaultText : line;
}

} // namespace corva::platform
