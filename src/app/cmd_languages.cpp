// "corva languages [use NAME]": the languages the windows can show, and the
// choice the windows start in. The command line itself stays in English, so
// that its output reads the same to scripts whatever the windows show.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "core/TerminalText.h"
#include "core/mSHAREDSettings.h"
#include "localise/modLanguages.h"
#include "platform/qt/QtDataFolders.h"

#include <iostream>

namespace corva::app {
namespace {

int run(CommandArgs& args) {
    const std::string usage = "corva languages [use NAME]";
    if (auto status = args.refused(usage, 0, 2)) return *status;
    const auto& words = args.rest();
    if (!words.empty() && (words.front() != "use" || words.size() != 2))
        return RefuseWith("languages", "unknown words; usage: " + usage);
    SetLanguageFolders(platform::qt::programDataFolders("languages"));
    HeadlessSession session;
    LoadAllLanguages();
    const std::string chosen = sget("langID", "English").toText();
    if (words.empty()) {
        const auto names = filllanguagelist();
        for (size_t i = 0; i < names.size(); ++i)
            std::cout << (names[i] == chosen ? "* " : "  ") << terminalLine(names[i]) << "\t"
                      << (i == 0 ? "built in" : terminalLine(LanguageFileList()[i - 1])) << "\n";
        return 0;
    }
    const int index = LanguageIndex(words[1]);
    if (index < 0)
        return RefuseWith("languages",
                          "no language '" + words[1] + "'; 'corva languages' lists them");
    sset("langID", words[1]);
    std::cout << "The windows start in " << terminalLine(words[1]) << ".\n";
    return 0;
}

const CommandRegistration registration({
    "languages",
    "corva languages [use NAME]",
    "List the languages of the windows, or choose the one they start in",
    "Lists \"English\" and each language file found in the program folder's\n"
    "languages folder and in the installed one (share/corva/languages), the\n"
    "one the windows use marked with \"*\". 'use NAME' keeps NAME (as listed)\n"
    "in langID for the next start of the windows. Output of the commands stays\n"
    "in English.",
    run,
});

} // namespace
} // namespace corva::app
