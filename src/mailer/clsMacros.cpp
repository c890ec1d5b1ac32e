#include "mailer/clsMacros.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/mSHAREDGeneral.h"

namespace corva {

std::string clsMacros::FilePath() const {
    return path_.empty() ? DataFolder + "macros.txt" : path_;
}

void clsMacros::load() {
    loaded_ = true;
    guarded("loadmacros", "clsMacros", [&] {
        std::string text;
        if (!FileExists(FilePath()) || !LoadTextFile(FilePath(), text)) return;
        for (const std::string& line : SplitLines(text)) {
            size_t blank = line.find(' ');
            if (blank == std::string::npos) continue;
            macros_.emplace_back(line.substr(0, blank), line.substr(blank + 1));
        }
    });
}

std::string clsMacros::SwapWord(const std::string& word) {
    if (!loaded_) load();
    for (const auto& [key, expansion] : macros_)
        if (isequal(key, word)) return expansion;
    return "";
}

} // namespace corva
