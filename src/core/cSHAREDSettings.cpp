#include "core/cSHAREDSettings.h"

#include "core/ErrorHandler.h"
#include "core/ErrorReport.h"
#include "core/FileSubs.h"
#include "core/ShownText.h"
#include "core/Strings.h"
#include "core/mSHAREDGeneral.h"
#include "core/mSHAREDLogging.h"
#include "platform/Platform.h"

#include <algorithm>

namespace corva {

namespace {

std::string noCommas(std::string_view key) {
    return Replace(key, ",", "");
}

// "TRUE"/"FALSE" in any case and with blanks read back as truth values.
Variant readValue(const Variant& stored) {
    if (!stored.isText()) return stored;
    std::string t = UCase(Trim(stored.toText()));
    if (t == "FALSE") return Variant(false);
    if (t == "TRUE") return Variant(true);
    return stored;
}

int toRunError(platform::FileError e) {
    switch (e) {
    case platform::FileError::DiskFull:
        return Err::DiskFull;
    case platform::FileError::Access:
        return Err::PathFileAccess;
    case platform::FileError::NotFound:
        return Err::PathNotFound;
    case platform::FileError::BadName:
        return Err::BadFileName;
    default:
        return Err::DeviceIO;
    }
}

std::string setKey(const std::string& setName, int n) {
    return setName + "_" + std::to_string(n);
}

} // namespace

std::string cSHAREDSettings::SettingNameByIndex(int index) const {
    if (index < 1 || index > SettingsCount()) return "";
    return items_[static_cast<size_t>(index - 1)].KeyName;
}

int cSHAREDSettings::SettingPresent(const std::string& rawKey, int& position) const {
    const std::string key = noCommas(rawKey);
    const int count = SettingsCount();
    position = 0;
    if (count == 0) return -1;
    auto keyAt = [&](int i) -> const std::string& {
        return items_[static_cast<size_t>(i - 1)].KeyName;
    };
    if (keyAt(1) == key) {
        position = 2;
        return 1;
    }
    if (keyAt(count) == key) {
        position = count + 1;
        return count;
    }
    int low = 1, high = count, middle = 1;
    while (low <= high) {
        middle = (low + high) / 2;
        const std::string& k = keyAt(middle);
        if (k == key) {
            position = middle + 1;
            return middle;
        }
        if (k > key)
            high = middle - 1;
        else
            low = middle + 1;
    }
    position = keyAt(middle) > key ? middle : middle + 1;
    return -1;
}

void cSHAREDSettings::add(const std::string& key, const Variant& value) {
    int position = 0;
    int found = SettingPresent(key, position);
    if (found > 0) {
        items_[static_cast<size_t>(found - 1)].KeyValue = value;
        return;
    }
    cSHAREDSetting entry{noCommas(key), value};
    if (position <= 0 || position > SettingsCount())
        items_.push_back(std::move(entry));
    else
        items_.insert(items_.begin() + (position - 1), std::move(entry));
}

void cSHAREDSettings::StoreSetting(const std::string& key, const Variant& value) {
    guarded("StoreSetting", "cSHAREDSettings", [&] { add(UCase(key), value); });
}

Variant cSHAREDSettings::RetrieveSetting(const std::string& key, const Variant& def) const {
    return guardedValue("RetrieveSetting", "cSHAREDSettings", def, [&] {
        int position = 0;
        int found = SettingPresent(UCase(key), position);
        if (found < 0) return def;
        return readValue(items_[static_cast<size_t>(found - 1)].KeyValue);
    });
}

Variant cSHAREDSettings::RetrieveWithDefault(const std::string& key, const Variant& def) const {
    Variant v = RetrieveSetting(key, def);
    if (v.isBool() && !v.toBool()) return def;
    if ((v.isNumber() || (v.isText() && v.isNumeric())) && v.toNumber() == 0) return def;
    return v;
}

void cSHAREDSettings::DeleteSettingByName(const std::string& key) {
    int position = 0;
    int found = SettingPresent(key, position);
    if (found < 0) found = SettingPresent(UCase(key), position);
    if (found > 0) DeleteSetting(found);
}

void cSHAREDSettings::DeleteSetting(int position) {
    if (position >= 1 && position <= SettingsCount()) items_.erase(items_.begin() + (position - 1));
}

void cSHAREDSettings::LoadSettings(const std::string& path) {
    items_.clear();
    std::string resolved = ResolvePath(path);
    // What the file holds as we would write it: a save that would write the
    // same is skipped, and a missing file stays missing.
    savedPath_ = resolved;
    savedText_.clear();
    loadStopped_ = false;
    if (!FileExists(resolved)) return;
    std::string text;
    if (!LoadTextFile(resolved, text)) {
        loadStopped_ = true;
        return;
    }
    std::vector<std::string> lines = SplitLines(text);
    std::string previousKey;
    size_t lineNumber = 0;
    try {
        for (auto& line : lines) {
            ++lineNumber;
            size_t comma = line.find(',');
            if (comma == std::string::npos) continue;
            std::string key = line.substr(0, comma);
            Variant value = readValue(Variant(line.substr(comma + 1)));
            bool skip = key == previousKey || Trim(key).empty();
            previousKey = UCase(Trim(key));
            if (!skip) add(key, value);
        }
    } catch (const std::exception& e) {
        loadStopped_ = true;
        showerr("Error " + std::to_string(errorNumber(e)) + " in setting file. Line: " +
                std::to_string(lineNumber) + " of " + std::to_string(lines.size()));
    }
    // The file is normally in order already; this settles hand edits.
    std::stable_sort(
        items_.begin(), items_.end(),
        [](const cSHAREDSetting& a, const cSHAREDSetting& b) { return a.KeyName < b.KeyName; });
    savedText_ = fileText();
}

std::string cSHAREDSettings::fileText() const {
    std::string text;
    std::string previous;
    bool first = true;
    for (const auto& item : items_) {
        std::string key = UCase(noCommas(item.KeyName));
        if (!first && key == previous) continue;
        first = false;
        previous = key;
        text += key + "," + item.KeyValue.printForm() + "\r\n";
    }
    return text;
}

bool cSHAREDSettings::SaveSettings(const std::string& rawPath) {
    std::string path = ResolvePath(rawPath);
    const std::string text = fileText();
    if (path == savedPath_ && text == savedText_) {
        // Unchanged, but a file left readable by others is narrowed all the same.
        if (FileExists(path)) platform::current().files().restrictToOwner(path);
        return true;
    }
    if (path == savedPath_ && loadStopped_) {
        // Whatever the load did not reach would be lost: the file stays as it is.
        CopyToBackup(path);
        NoteFailedWrite("SaveSettings",
                        path + " was not read to its end; not saved over it (a copy is in " + path +
                            ".bak)");
        lastSaveFailed_ = true;
        return false;
    }
    for (;;) {
        platform::FileResult written =
            platform::current().files().replace(path, text, platform::Durability::Synced);
        if (written) {
            savedPath_ = path;
            savedText_ = text;
            lastSaveFailed_ = false;
            return true;
        }
        lastSaveFailed_ = true;
        // A read-only run writes nothing and says nothing about it.
        if (written.error == platform::FileError::WritesOff) return false;
        NoteFailedWrite("SaveSettings", written.detail);
        int error = toRunError(written.error);
        if (error == Err::BadFileName || error == Err::PathFileAccess) {
            platform::current().prompts().messageBox(
                ShownText("Your settings file is read-only and I can't change it. Save cancelled."),
                platform::Buttons::Ok, platform::Icon::Exclamation, "Corva");
            return false;
        }
        if (error == Err::DiskFull) {
            auto answer = platform::current().prompts().messageBox(
                ShownText("You've run out of disk space on drive ") + pathonly(path) + ":\r" +
                    ShownText("Please clear some space and then click Retry, else click Cancel "
                              "to abort."),
                platform::Buttons::RetryCancel, platform::Icon::Exclamation, "Corva");
            if (answer == platform::Answer::Retry) continue;
            return false;
        }
        showerr("Error " + std::to_string(error) + " - " + errorDescription(error) +
                " in SaveSettings");
        return false;
    }
}

int cSHAREDSettings::LastIndexInSet(const std::string& setName) const {
    return static_cast<int>(RetrieveSetting(setName + "_INDEX", 0).toLong());
}

int cSHAREDSettings::AddToSet(const std::string& setName, const Variant& value) {
    int n = LastIndexInSet(setName);
    int position = 0;
    do {
        ++n;
        StoreSetting(setName + "_INDEX", n);
    } while (SettingPresent(UCase(setKey(setName, n)), position) > 0);
    StoreSetting(setKey(setName, n), value);
    return n;
}

void cSHAREDSettings::DeleteFromSetByIndex(const std::string& setName, int index) {
    int last = LastIndexInSet(setName);
    if (index < 1 || index > last) return;
    if (index == last) {
        DeleteSettingByName(setKey(setName, index));
        return;
    }
    for (int k = index; k < last; ++k)
        StoreSetting(setKey(setName, k), RetrieveSetting(setKey(setName, k + 1), ""));
    DeleteSettingByName(setKey(setName, last));
    StoreSetting(setName + "_INDEX", last - 1);
}

std::vector<int> cSHAREDSettings::presentInSet(const std::string& setName, int from,
                                               int last) const {
    const std::string prefix = UCase(setName + "_");
    std::vector<int> found;
    for (const cSHAREDSetting& item : items_) {
        const std::string& key = item.KeyName;
        if (key.size() <= prefix.size() || key.compare(0, prefix.size(), prefix) != 0) continue;
        const std::string digits = key.substr(prefix.size());
        // Only the form setKey writes: no sign, no leading zero, within an int.
        if (digits.size() > 9 || digits[0] == '0' ||
            digits.find_first_not_of("0123456789") != std::string::npos)
            continue;
        const int k = std::stoi(digits);
        if (k >= from && k <= last) found.push_back(k);
    }
    std::sort(found.begin(), found.end());
    return found;
}

void cSHAREDSettings::DeleteFromSetByValue(const std::string& setName, const std::string& value) {
    for (int k : presentInSet(setName, 1, LastIndexInSet(setName))) {
        if (isequal(RetrieveSetting(setKey(setName, k), "").toText(), value, true)) {
            DeleteFromSetByIndex(setName, k);
            return;
        }
    }
}

bool cSHAREDSettings::ReadIDFromSet(const std::string& setName, std::string& previousId,
                                    std::string& id) const {
    // The number is what follows the first underscore: a set whose name holds
    // an underscore reads as Val of the rest, which is 0, and starts again from
    // its first member. The ids have always been read so.
    size_t underscore = previousId.find('_');
    int n = previousId.empty() || underscore == std::string::npos
                ? 0
                : static_cast<int>(Val(previousId.substr(underscore + 1)));
    const std::vector<int> present = presentInSet(setName, n + 1, LastIndexInSet(setName));
    if (present.empty()) {
        id.clear();
        return false;
    }
    id = setKey(setName, present.front());
    previousId = id;
    return true;
}

bool cSHAREDSettings::ReadFromSet(const std::string& setName, std::string& previousId,
                                  Variant& value) const {
    std::string id;
    if (!ReadIDFromSet(setName, previousId, id)) {
        value = Variant();
        return false;
    }
    value = RetrieveSetting(id, "");
    return true;
}

int cSHAREDSettings::SetCount(const std::string& setName) const {
    return static_cast<int>(presentInSet(setName, 1, LastIndexInSet(setName)).size());
}

} // namespace corva
