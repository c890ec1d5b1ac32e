// Word tables (HashTable.dat, HashGood.dat, HashBad.dat): "value, word"
// lines read into the hash table, looked up, changed and written back; and
// the score's index over the same file, which must find what the table finds.
#include "FuzzSupport.h"

#include "bayes/WordIndex.h"
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
    WordIndex index;
    if (!index.Load(path) || index.Records() != table.MaxIndex) __builtin_trap();
    for (int32_t i = 1; i <= table.MaxIndex && i <= 64; ++i) {
        (void)table.RecString(i);
        (void)table.RecValue(i);
        const std::string& key = table.KeyAt(i);
        const float* found = index.Find(key, KeyHash(key));
        if (!found || *found != table.HashFind(key).Value) __builtin_trap();
    }
    (void)table.HashFind("money");
    table.AlterValue("money", 2.5f);
    (void)table.HashDelete("money");
    table.WriteHashTable(fuzz::folder() + "Saved.dat");
    return 0;
}
