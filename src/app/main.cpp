// Entry point: "corva" alone opens the windows; "corva COMMAND ..." runs the
// same logic headless, on Qt's event loop without a display.
#include "app/Command.h"
#include "platform/ConsolePrompts.h"
#include "platform/qt/QtPlatform.h"

#include <QCoreApplication>

#include <cstring>
#include <iostream>

#if __has_include("ui/RunWindows.h")
#include "ui/RunWindows.h"
#define CORVA_HAS_WINDOWS 1
#endif

namespace {

void printUsage(std::ostream& out) {
    out << "Corva " << CORVA_VERSION << ": a mail client that deletes junk on the server.\n\n"
        << "Usage: corva [--home DIR] [COMMAND [ARGUMENTS]]\n\n";
#ifdef CORVA_HAS_WINDOWS
    out << "Without a command Corva opens its windows.\n\n";
#else
    out << "The desktop windows are not part of this build yet; use the commands below.\n\n";
#endif
    out << "Commands:\n";
    for (const auto& c : corva::app::Commands()) {
        std::string name = c.name;
        out << "  " << name << std::string(name.size() < 14 ? 14 - name.size() : 1, ' ')
            << c.summary << "\n";
    }
    out << "\nOptions for every command:\n"
        << "  --home DIR    the program folder (default $CORVA_HOME, else\n"
        << "                $XDG_DATA_HOME/corva, else ~/.local/share/corva)\n\n"
        << "'corva help COMMAND' tells more about one command.\n";
}

int printCommandHelp(const std::string& name) {
    for (const auto& c : corva::app::Commands()) {
        if (name == c.name) {
            std::cout << "Usage: " << c.usage << "\n\n" << c.summary << "\n";
            if (c.help && *c.help) std::cout << "\n" << c.help << "\n";
            return 0;
        }
    }
    std::cerr << "corva: no command '" << name << "'. Try 'corva --help'.\n";
    return 2;
}

} // namespace

int main(int argc, char** argv) {
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i) {
        if (std::strcmp(argv[i], "--home") == 0 && i + 1 < argc) {
            corva::app::SetHomeOption(argv[++i]);
        } else if (std::strncmp(argv[i], "--home=", 7) == 0) {
            corva::app::SetHomeOption(argv[i] + 7);
        } else {
            words.emplace_back(argv[i]);
        }
    }

    if (words.empty()) {
#ifdef CORVA_HAS_WINDOWS
        return corva::ui::RunWindows(argc, argv);
#else
        printUsage(std::cout);
        return 0;
#endif
    }
    const std::string first = words.front();
    if (first == "--help" || first == "-h" || first == "help") {
        if (first == "help" && words.size() > 1) return printCommandHelp(words[1]);
        printUsage(std::cout);
        return 0;
    }
    if (first == "--version") {
        std::cout << "Corva " << CORVA_VERSION << "\n";
        return 0;
    }

    for (const auto& c : corva::app::Commands()) {
        if (first != c.name) continue;
        words.erase(words.begin());
        if (std::find(words.begin(), words.end(), "--help") != words.end())
            return printCommandHelp(first);
        QCoreApplication app(argc, argv);
        corva::platform::qt::QtPlatform platform;
        corva::platform::ConsolePrompts console;
        platform.setPrompts(&console);
        corva::platform::ScopedPlatform installed(platform);
        corva::app::CommandArgs args(words);
        return c.run(args);
    }
    std::cerr << "corva: unknown command '" << first << "'. Try 'corva --help'.\n";
    return 2;
}
