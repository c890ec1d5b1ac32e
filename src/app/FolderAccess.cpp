#include "app/FolderAccess.h"

#include "app/Command.h"
#include "app/HandOver.h"
#include "core/AppInfo.h"
#include "core/FileSubs.h"
#include "platform/Platform.h"

#include <iostream>

namespace corva::app {

bool CommandOnlyReads(const std::string& command, const std::vector<std::string>& words) {
    auto has = [&](const char* word) {
        for (const auto& w : words)
            if (w == word) return true;
        return false;
    };
    if (command == "check" || command == "score" || command == "parse" || command == "list" ||
        command == "folders" || command == "ssl2-test" || command == "show" ||
        command == "search" || command == "print")
        return true;
    if (command == "tickets")
        return !words.empty() && (words.front() == "list" || words.front() == "show");
    if (command == "reminders") return !words.empty() && words.front() == "list";
    if (command == "contacts" || command == "account")
        return !words.empty() && words.front() == "list";
    if (command == "scan") return !has("--delete");
    if (command == "rules")
        return !words.empty() &&
               (words.front() == "list" || words.front() == "show" || words.front() == "validate");
    if (command == "thresholds") return words.empty();
    if (command == "languages") return words.empty();
    if (command == "signature" || command == "shortcuts") {
        for (const auto& w : words)
            if (w == "--set" || w.rfind("--set=", 0) == 0) return false;
        return true;
    }
    return false;
}

FolderAccess::FolderAccess(const std::string& command, const std::vector<std::string>& words)
    : readOnly_(CommandOnlyReads(command, words)) {
    if (readOnly_) {
        platform::current().files().setWritesAllowed(false);
        return;
    }
    claim_ = ClaimProgramFolder(ChooseProgramFolder(HomeOption()));
    if (!claim_.ok()) std::cerr << "corva " << command << ": " << claim_.refusal << "\n";
}

int FolderAccess::finish(int status) const {
    if (FailedWrites() == 0) return status;
    std::cerr << "corva: " << FailedWrites() << (FailedWrites() == 1 ? " file" : " files")
              << " could not be written (see log.txt); the old contents were kept.\n";
    return status == 0 ? 1 : status;
}

FolderAccess::~FolderAccess() {
    if (readOnly_) platform::current().files().setWritesAllowed(true);
}

int RunInFolder(const Command& command, const std::vector<std::string>& words,
                const std::string& home) {
    if (!CommandOnlyReads(command.name, words)) {
        const std::string refusal = RunningWindowRefusal(command.name, home);
        if (!refusal.empty()) {
            std::cerr << refusal << "\n";
            return 1;
        }
    }
    FolderAccess access(command.name, words);
    if (!access.granted()) return 1;
    CommandArgs args(words, command.name);
    return access.finish(command.run(args));
}

} // namespace corva::app
