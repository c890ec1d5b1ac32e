// Block and ignore lists: one address or domain a line, tested whole and as
// a substring, changed and saved.
#include "FuzzSupport.h"

#include "filters/clsAddressList.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    const std::string path = fuzz::writeFile("Blocked.txt", fuzz::asText(data, size));
    for (auto match : {clsAddressList::Match::Exact, clsAddressList::Match::Substring}) {
        clsAddressList list(match);
        list.Load(path);
        for (const char* probe : {"ann@corva.example", "", " ", "x@bad.example", "\xff"})
            (void)list.Test(probe);
        if (list.Count() > 0) {
            const std::string first = list.Items().front();
            (void)list.Test(first);
            (void)list.Test("<" + first + ">");
            list.Remove(first);
            list.Add(first);
            (void)list.Contains(first);
        }
        // Add refuses a key the list holds, as every keyed collection here does.
        if (!list.Contains("new@corva.example")) list.Add("new@corva.example");
        list.Save(fuzz::folder() + "Saved.txt");
    }
    return 0;
}
