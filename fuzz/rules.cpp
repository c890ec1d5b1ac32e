// Rules.txt: filters read from lines of "Keyword, value", written back, and
// merged into a rule set as an import does.
#include "FuzzSupport.h"

#include "filters/frmFilters.h"
#include "filters/modRuleManagement.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    const std::string path = fuzz::writeFile("Import.txt", fuzz::asText(data, size));
    fuzz::writeFile("Rules.txt", "FilterName, Kept\r\nFilterField, From:\r\n"
                                 "FilterComparison, cnt\r\nFilterString, x\r\nFilterAction, 1\r\n");
    frmFilters filters(fuzz::folder());
    filters.ReloadFilters(false);
    importfilters(filters, path);
    FilterCollection loaded;
    frmFilters::LoadFilters(loaded, path, true);
    (void)searchstring(loaded, "a", 1);
    if (loaded.size() > 1) (void)movefilterfromto(loaded, 1, static_cast<int>(loaded.size()));
    filters.Filters() = loaded;
    filters.savefilters(fuzz::folder() + "Saved.txt", false);
    return 0;
}
