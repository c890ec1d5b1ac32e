// Word tables (HashTable.dat, HashGood.dat, HashBad.dat): "value, word"
// lines read into the hash table, looked up, changed and written back.
#include "FuzzSupport.h"

#include "bayes/clsHashTable.h"

#include <cstddef>
#include <cstdint>
#include <string>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    using namespace corva;
    const std::string path = fuzz::writeFile("HashTable.dat", fuzz::asText(data, size));
    clsHashTable table;
    table.InitSmall();
    if (!table.LoadTable(path)) return 0;
    for (int32_t i = 1; i <= table.MaxIndex && i <= 64; ++i) {
        (void)table.RecString(i);
        (void)table.RecValue(i);
    }
    (void)table.HashFind("money");
    table.AlterValue("money", 2.5f);
    (void)table.HashDelete("money");
    table.WriteHashTable(fuzz::folder() + "Saved.dat");
    return 0;
}
