#include "mailer/clsInserts.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"

namespace corva {
namespace {
const char* Module = "clsInserts";
const clsInsert NoInsert;
} // namespace

const clsInsert& clsInserts::Insert(long index) const {
    if (index < 1 || index > Count()) return NoInsert;
    return items_[static_cast<size_t>(index - 1)];
}

void clsInserts::Remove(long index) {
    if (index >= 1 && index <= Count()) items_.erase(items_.begin() + (index - 1));
}

std::string clsInserts::FilePath() const {
    return path_.empty() ? DataFolder + "Inserts.txt" : path_;
}

void clsInserts::loadinserts() {
    guarded("loadinserts", Module, [&] {
        items_.clear();
        std::string text;
        if (!FileExists(FilePath()) || !LoadTextFile(FilePath(), text)) return;
        std::vector<std::string> lines = SplitLines(text);
        for (size_t i = 0; i + 1 < lines.size(); i += 2) {
            clsInsert insert{Trim(lines[i]), Trim(lines[i + 1])};
            if (!insert.Title.empty() && !insert.Filename.empty()) items_.push_back(insert);
        }
    });
}

bool clsInserts::saveinserts() const {
    return guardedValue("saveinserts", Module, false, [&] {
        std::string text;
        for (const clsInsert& insert : items_)
            text += insert.Title + "\r\n" + insert.Filename + "\r\n";
        return WriteFileExactly(FilePath(), text);
    });
}

} // namespace corva
