// Corva.ini and Paths.ini: a file of KEY,VALUE lines read into the sorted
// store, looked up as the program does, then saved and read back. Once a file
// has been through a load and a save, it must read back to the same bytes; the
// first save may differ, as lower-case keys of a hand-edited file are sorted
// by their own case but written upper-cased.
#include "FuzzSupport.h"

#include "core/FileSubs.h"
#include "core/cSHAREDSettings.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    const std::string path = fuzz::writeFile("Corva.ini", fuzz::asText(data, size));
    cSHAREDSettings settings;
    settings.LoadSettings(path);
    for (const char* key : {"SERVER0", "PWD0", "CHECK0", "MailTimeout", "MessageFolder", "NoCache"})
        (void)settings.RetrieveWithDefault(key, Variant(1));
    std::string id;
    Variant value;
    for (int i = 0; i < 1000 && settings.ReadFromSet("ACCOUNT", id, value); ++i) {
    }
    (void)settings.SetCount("ACCOUNT");
    int position = 0;
    (void)settings.SettingPresent(settings.SettingNameByIndex(1), position);

    // Each store saves to a new name, so "unchanged, not written" never applies.
    const std::string first = fuzz::folder() + "Saved.ini";
    const std::string second = fuzz::folder() + "Again.ini";
    const std::string third = fuzz::folder() + "Third.ini";
    if (!settings.SaveSettings(first)) return 0;
    cSHAREDSettings written;
    written.LoadSettings(first);
    if (!written.SaveSettings(second)) return 0;
    cSHAREDSettings again;
    again.LoadSettings(second);
    if (!again.SaveSettings(third)) return 0;
    if (LoadTextFile(second) != LoadTextFile(third)) std::abort();
    return 0;
}
