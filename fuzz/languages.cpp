// A language file: read as the program reads one, loaded into the table,
// looked up and turned round for the way back to English.
#include "FuzzSupport.h"

#include "localise/modLanguages.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <sys/stat.h>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    static const bool made = [] {
        ::mkdir((fuzz::folder() + "languages").c_str(), 0700);
        return true;
    }();
    (void)made;
    const std::string text(fuzz::asText(data, size));
    const LanguageText read = ReadLanguageText(text);
    fuzz::writeFile("languages/fuzzed.txt", text);
    LoadAllLanguages();
    loadlanguage(1);
    for (const auto& [english, translation] : read.pairs) {
        (void)gettranslation(english);
        (void)TranslateLabelled(english + ": 1");
    }
    SetWindowWalker([&] {
        for (const auto& pair : read.pairs) (void)gettranslation(pair.second);
    });
    reverttoenglish();
    return 0;
}
