// Entry point: "corva" alone opens the windows; "corva COMMAND ..." runs the
// same logic headless, on Qt's event loop without a display.
#include "app/Command.h"
#include "app/CommandLine.h"
#include "app/FolderAccess.h"
#include "app/HandOver.h"
#include "app/Terminal.h"
#include "platform/ConsolePrompts.h"
#include "platform/qt/QtPlatform.h"

#include <QCoreApplication>
#include <QGuiApplication>

#include <algorithm>

#include <iostream>

#if __has_include("ui/RunWindows.h")
#include "ui/RunWindows.h"
#define CORVA_HAS_WINDOWS 1
#endif

namespace {

void printUsage(std::ostream& out) {
    out << "Corva " << CORVA_VERSION << ": a mail client that deletes junk on the server.\n\n"
        << "Usage: corva [--home DIR] [--color=WHEN] [-q|-v] [COMMAND [ARGUMENTS]]\n\n";
#ifdef CORVA_HAS_WINDOWS
    out << "Without a command Corva opens its windows.\n\n";
#else
    out << "The desktop windows are not part of this build yet; use the commands below.\n\n";
#endif
    size_t width = 0;
    for (const auto& c : corva::app::Commands())
        width = std::max(width, std::string(c.name).size());
    for (bool developer : {false, true}) {
        out << (developer ? "\nDeveloper commands:\n" : "Commands:\n");
        for (const auto& c : corva::app::Commands()) {
            if (c.developer != developer) continue;
            std::string name = c.name;
            out << "  " << name << std::string(width + 2 - name.size(), ' ') << c.summary << "\n";
        }
    }
    out << "\nOptions for every command:\n"
        << "  --home DIR    the program folder (default $CORVA_HOME, else\n"
        << "                $XDG_DATA_HOME/corva, else ~/.local/share/corva)\n"
        << "  --color=WHEN  colour the lists: auto (the default: only on a terminal,\n"
        << "                never with NO_COLOR set or TERM=dumb), always or never\n"
        << "  --quiet, -q   no progress and no summary on standard error\n"
        << "  --verbose, -v every progress step on a line of its own\n\n"
        << "Exit status: 0 done, 1 the work failed (a server, a file), 2 the command\n"
        << "line was wrong (an unknown option, a missing value, no such account,\n"
        << "folder or address).\n\n"
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
    using Face = corva::app::Invocation::Face;
    // Output options may stand anywhere, before the command as after it.
    std::vector<std::string> arguments(argv + 1, argv + argc);
    const std::string wrongOutput = corva::app::TakeOutputOptions(arguments, corva::app::Output());
    if (!wrongOutput.empty()) {
        std::cerr << "corva: " << wrongOutput << "\n";
        return 2;
    }
    const corva::app::Invocation call = corva::app::ParseCommandLine(arguments);
    corva::app::SetHomeOption(call.home);
    switch (call.face) {
    case Face::Error:
        std::cerr << "corva: " << call.error << ". Try 'corva --help'.\n";
        return 2;
    case Face::Windows:
#ifdef CORVA_HAS_WINDOWS
        if (corva::app::HandOverToRunningCopy(argc, argv, call.home, call.startLine)) return 0;
        return corva::ui::RunWindows(argc, argv, call.home, call.startLine);
#else
        printUsage(std::cout);
        return 0;
#endif
    case Face::Help:
        if (!call.words.empty()) return printCommandHelp(call.words.front());
        printUsage(std::cout);
        return 0;
    case Face::Version:
        std::cout << "Corva " << CORVA_VERSION << "\n";
        return 0;
    case Face::Command:
        break;
    }

    std::vector<std::string> words = call.words;
    const std::string first = words.front();
    for (const auto& c : corva::app::Commands()) {
        if (first != c.name) continue;
        words.erase(words.begin());
        if (std::find(words.begin(), words.end(), "--help") != words.end())
            return printCommandHelp(first);
        // Printing lays text out with fonts, which only a GUI application has;
        // it needs no screen, so it runs offscreen unless told otherwise.
        std::unique_ptr<QCoreApplication> app;
        if (first == "print") {
            if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
                qputenv("QT_QPA_PLATFORM", "offscreen");
            app = std::make_unique<QGuiApplication>(argc, argv);
        } else {
            app = std::make_unique<QCoreApplication>(argc, argv);
        }
        corva::platform::qt::QtPlatform platform;
        corva::platform::ConsolePrompts console;
        platform.setPrompts(&console);
        corva::platform::ScopedPlatform installed(platform);
        return corva::app::RunInFolder(c, words, call.home);
    }
    std::cerr << "corva: unknown command '" << first << "'. Try 'corva --help'.\n";
    return 2;
}
