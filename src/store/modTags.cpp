// Tag files. Every operation logs a failure and leaves the old tag: a drifted
// count is repaired by the next rescan of the folder.
#include "store/modTags.h"

#include "core/DateTime.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Strings.h"
#include "core/mSHAREDGeneral.h"

#include <cmath>
#include <limits>

namespace corva {

namespace {

const char* kModule = "modTags";

std::string tagText(const std::string& folder, const char* tagName) {
    std::string text = LoadTextFile(tagpath(folder, tagName));
    return Trim(Replace(Replace(text, "\r", ""), "\n", ""));
}

void writeTag(const std::string& folder, const char* tagName, const std::string& text) {
    if (!WriteFileInPlace(tagpath(folder, tagName), text))
        throw RunError(Err::PathFileAccess,
                       "Can't write " + std::string(tagName) + " in " + folder);
}

int16_t toInt16(double value) {
    double r = std::nearbyint(value);
    if (r < -32768 || r > 32767) throw RunError(Err::Overflow);
    return static_cast<int16_t>(r);
}

// A day number is a 32-bit whole number; a tag holding anything bigger is an
// overflow, as any other out-of-range number in a tag.
long toDayNumber(double value) {
    double r = std::floor(value);
    if (!(r >= -2147483648.0 && r <= 2147483647.0)) throw RunError(Err::Overflow);
    return static_cast<long>(r);
}

} // namespace

std::string tagpath(const std::string& folder, const std::string& tagName) {
    std::string dir = addslash(ResolvePath(addslash(ToSlashes(folder))));
    return ResolvePath(dir + tagName);
}

long daynumber(const std::string& dateText) {
    std::string text = Trim(dateText);
    // The store's own form, "YYYY-MM-DD HH:MM:SS", read directly: a big folder
    // dates every line of its list.
    auto digits = [&](size_t from, size_t n) {
        int v = 0;
        for (size_t i = from; i < from + n; ++i) {
            if (text[i] < '0' || text[i] > '9') return -1;
            v = v * 10 + (text[i] - '0');
        }
        return v;
    };
    if (text.size() >= 10 && text[4] == '-' && text[7] == '-' &&
        (text.size() == 10 || text[10] == ' ')) {
        int y = digits(0, 4), m = digits(5, 2), d = digits(8, 2);
        if (y > 0 && m >= 1 && m <= 12 && d >= 1 && d <= 31)
            return static_cast<long>(std::floor(DateTime::fromParts(y, m, d).serial()));
    }
    bool numeric = !text.empty();
    for (char c : text)
        if (!((c >= '0' && c <= '9') || c == '.' || c == '-')) numeric = false;
    if (numeric && text.find('-', 1) == std::string::npos) return toDayNumber(Val(text));
    std::optional<DateTime> date = ParseDate(text);
    if (!date) throw RunError(Err::TypeMismatch);
    return toDayNumber(date->serial());
}

int readunreadtag(const std::string& folder) {
    return guardedValue("readunreadtag", kModule, 0, [&] {
        std::string text = tagText(folder, UnreadTagName);
        return text.empty() ? 0 : static_cast<int>(toInt16(Val(text)));
    });
}

long readlastmessagetag(const std::string& folder) {
    return guardedValue("readlastmessagetag", kModule, 0L, [&] {
        std::string text = tagText(folder, LastMsgTagName);
        return text.empty() ? 0L : daynumber(text);
    });
}

void addtounreadtag(const std::string& folder, int delta) {
    guarded("addtounreadtag", kModule, [&] {
        if (delta == 0) delta = 1;
        std::string text = tagText(folder, UnreadTagName);
        int16_t count = toInt16(Val(text) + delta);
        writeTag(folder, UnreadTagName, Str(count));
    });
}

void removefromunreadtag(const std::string& folder, int n) {
    if (n == 0) n = 1;
    addtounreadtag(folder, -n);
}

void createunreadtag(const std::string& folder, int count) {
    guarded("createunreadtag", kModule, [&] { writeTag(folder, UnreadTagName, Str(count)); });
}

void CreateLastMessageTag(const std::string& folder, long value) {
    guarded("CreateLastMessageTag", kModule, [&] { writeTag(folder, LastMsgTagName, Str(value)); });
}

void DeleteUnreadTag(const std::string& folder) {
    // A missing tag is what is wanted, so a failure is not worth a word.
    EraseFile(tagpath(folder, UnreadTagName));
}

void DeleteLastMessageTag(const std::string& folder) {
    EraseFile(tagpath(folder, LastMsgTagName));
}

void AddToLastMessageTag(const std::string& folder, const clsMessage& message) {
    guarded("AddToLastMessageTag", kModule, [&] {
        if (message.Read) return;
        std::string text = tagText(folder, LastMsgTagName);
        long tagDay = text.empty() ? 0 : daynumber(text);
        if (Trim(message.ReceiveDate).empty()) {
            writeTag(folder, LastMsgTagName,
                     Str(static_cast<long long>(DateTime::today().serial())));
            return;
        }
        long day = daynumber(message.ReceiveDate);
        if (day > tagDay) writeTag(folder, LastMsgTagName, Str(day));
    });
}

bool ShowUnreadOnly(const std::string& folder) {
    return guardedValue("ShowUnreadOnly", kModule, false,
                        [&] { return FileExists(tagpath(folder, ShowUnreadOnlyTagName)); });
}

void SetShowUnreadOnly(const std::string& folder, bool on) {
    guarded("SetShowUnreadOnly", kModule, [&] {
        if (on)
            writeTag(folder, ShowUnreadOnlyTagName, "Only show unread messages");
        else
            EraseFile(tagpath(folder, ShowUnreadOnlyTagName));
    });
}

} // namespace corva
