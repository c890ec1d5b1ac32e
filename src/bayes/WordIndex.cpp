#include "bayes/WordIndex.h"

#include "bayes/KeyHash.h"
#include "bayes/TableText.h"
#include "bayes/clsHashTable.h"
#include "core/ErrorHandler.h"
#include "core/FileSubs.h"

namespace corva {

bool WordIndex::Load(const std::string& path) {
    Clear();
    if (!FileExists(path)) return false;
    const bool ok = guarded("LoadTable", "clsHashTable", [&] {
        if (!LoadTextFile(path, text_)) throw RunError(Err::PathFileAccess, path);
        // A record line is rarely shorter than this; the vector grows if need be.
        entries_.reserve(text_.size() / 24 + 1);
        const std::string_view all(text_);
        const TableTextRead read = readTableText(all, [&](std::string_view key, float value) {
            entries_.push_back(Entry{static_cast<uint32_t>(key.data() - all.data()),
                                     static_cast<uint32_t>(key.size()), value});
        });
        index();
        reportOutOfRange(read.outOfRange, path);
    });
    if (!ok) Clear();
    return ok;
}

void WordIndex::Clear() {
    text_ = {};
    entries_ = {};
    slots_ = {};
}

void WordIndex::index() {
    size_t capacity = 16;
    while (capacity * 7 < entries_.size() * 10) capacity *= 2;
    slots_.assign(capacity, Slot{});
    const size_t mask = capacity - 1;
    for (uint32_t i = 0; i < entries_.size(); ++i) {
        const std::string_view key = keyOf(i);
        const uint64_t hash = keyhash::of(key);
        const auto tag = static_cast<uint32_t>(hash >> 32);
        for (size_t pos = static_cast<size_t>(hash) & mask;; pos = (pos + 1) & mask) {
            Slot& slot = slots_[pos];
            // A later record of the same key is the one a lookup finds.
            if (slot.entry == 0 || (slot.tag == tag && keyOf(slot.entry - 1) == key)) {
                slot = Slot{tag, i + 1};
                break;
            }
        }
    }
}

} // namespace corva
