// A flat, sorted key and value store kept in a text file of KEY,VALUE lines.
// One instance holds Corva.ini, another Paths.ini.
#pragma once

#include "core/Variant.h"

#include <string>
#include <vector>

namespace corva {

struct cSHAREDSetting {
    std::string KeyName;
    Variant KeyValue;
};

class cSHAREDSettings {
public:
    int SettingsCount() const { return static_cast<int>(items_.size()); }
    // The key at a 1-based position; "" outside the range.
    std::string SettingNameByIndex(int index) const;
    void sSet(const std::string& key, const Variant& value) { StoreSetting(key, value); }
    // Upper-cases the key and adds or replaces the entry.
    void StoreSetting(const std::string& key, const Variant& value);
    // As RetrieveSetting, but a stored 0 or False gives the default too.
    Variant RetrieveWithDefault(const std::string& key, const Variant& def) const;
    void DeleteAllSettings() { items_.clear(); }
    Variant sGet(const std::string& key, const Variant& def = Variant()) const {
        return RetrieveSetting(key, def);
    }
    // The value of the upper-cased key, or the default. Stored "true"/"false"
    // in any case and with blanks come back as booleans.
    Variant RetrieveSetting(const std::string& key, const Variant& def = Variant()) const;
    // Bisection over the exact key (commas removed): the 1-based index, or -1.
    // position is index + 1 when found, else the place to insert.
    int SettingPresent(const std::string& key, int& position) const;
    // Replaces the file atomically when its text would change; true when the
    // file holds the settings afterwards. A failure leaves the old file whole
    // and asks the user (disk full: retry or cancel). A file whose load
    // stopped early is never saved over; a copy goes to NAME.bak.
    bool SaveSettings(const std::string& path);
    // True when the last save did not reach the file.
    bool lastSaveFailed() const { return lastSaveFailed_; }
    void LoadSettings(const std::string& path);
    // Removes the key as given, then in upper case.
    void DeleteSettingByName(const std::string& key);
    void DeleteSetting(int position);

    // Indexed sets: NAME_INDEX is the highest index, NAME_1 ... the members.
    int AddToSet(const std::string& setName, const Variant& value);
    int LastIndexInSet(const std::string& setName) const;
    void DeleteFromSetByValue(const std::string& setName, const std::string& value);
    void DeleteFromSetByIndex(const std::string& setName, int index);
    // The next member after previousId ("" for the first); false at the end.
    bool ReadFromSet(const std::string& setName, std::string& previousId, Variant& value) const;
    bool ReadIDFromSet(const std::string& setName, std::string& previousId, std::string& id) const;
    int SetCount(const std::string& setName) const;

private:
    // The indexes from..last whose member is stored, in order. A damaged
    // NAME_INDEX can hold any number, so the stored keys are walked, never
    // the numbers up to it.
    std::vector<int> presentInSet(const std::string& setName, int from, int last) const;
    void add(const std::string& key, const Variant& value);
    std::string fileText() const;
    std::vector<cSHAREDSetting> items_;
    std::string savedPath_; // the file as last loaded or saved, and its text
    std::string savedText_;
    bool loadStopped_ = false;
    bool lastSaveFailed_ = false;
};

} // namespace corva
