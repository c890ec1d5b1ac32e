// The word table: two-level hashing into fixed buckets, nodes in flat arrays
// grown by a factor, a free list for deleted nodes, and the .dat text format.
#include "bayes/clsHashTable.h"

#include "bayes/KeyHash.h"
#include "bayes/TableText.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Strings.h"

#include <algorithm>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstring>

namespace corva {

namespace {

constexpr const char* Module = "clsHashTable";
constexpr int32_t ErrorBase = static_cast<int32_t>(0x80040000u + 512u);

uint64_t fullHashOf(std::string_view key) {
    return keyhash::of(key);
}

int32_t reduce(uint64_t h, int32_t size) {
    return size <= 0 ? 0 : static_cast<int32_t>(h % static_cast<uint64_t>(size));
}

bool holdsBoundary(std::string_view key) {
    static constexpr std::string_view word = "boundary";
    for (size_t eq = key.find('='); eq != std::string_view::npos; eq = key.find('=', eq + 1))
        if (eq >= word.size() && EqualsNoCase(key.substr(eq - word.size(), word.size()), word))
            return true;
    return false;
}

// Counts are whole numbers and probabilities whole hundredths, nearly always;
// their texts are made without the general conversion, and come out the same.
void appendValue(std::string& out, float value) {
    if (value >= 0 && value < 16777216.0f && !std::signbit(value)) {
        const auto whole = static_cast<uint32_t>(value);
        if (static_cast<float>(whole) == value) {
            char digits[16];
            auto [end, ec] = std::to_chars(digits, digits + sizeof digits, whole);
            if (ec == std::errc()) {
                out.append(digits, end);
                return;
            }
        }
        struct Hundredths {
            float value[101];
            char text[101][8];
            uint8_t length[101];
            Hundredths() {
                for (int k = 0; k <= 100; ++k) {
                    value[k] = static_cast<float>(k / 100.0);
                    auto [e, c] = std::to_chars(text[k], text[k] + sizeof text[k], value[k],
                                                std::chars_format::fixed);
                    length[k] = c == std::errc() ? static_cast<uint8_t>(e - text[k]) : 0;
                }
            }
        };
        static const Hundredths known;
        if (value <= 1) {
            const auto k = static_cast<size_t>(std::lround(static_cast<double>(value) * 100.0));
            if (known.value[k] == value && known.length[k] > 0) {
                out.append(known.text[k], known.length[k]);
                return;
            }
        }
    }
    char buffer[64];
    auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed);
    if (ec != std::errc()) {
        out += '0';
        return;
    }
    out.append(buffer, end);
}

} // namespace

int32_t cHash(std::string_view key, int32_t size) {
    return reduce(fullHashOf(key), size);
}

uint64_t KeyHash(std::string_view key) {
    return fullHashOf(key);
}

void clsHashTable::raise(int code, const std::string& source) const {
    static const char* texts[] = {"", "Key not found", "Duplicate key"};
    throw RunError(ErrorBase + code, std::string(texts[code]) + ": " + source + " ");
}

// A table initialised again at the size it has, with no node freed in between
// (the score's table of one message's tokens), is emptied in place: only the
// nodes used are cleared, and the free list is the untouched 1, 2, 3 ... again.
bool clsHashTable::reuse(int32_t buckets, int32_t nodes, size_t indexCapacity) {
    if (!initialised_ || freed_ || buckets != bucketCount_ || nodes != Size ||
        allocator_.UpperBound() != nodes || index_.size() != indexCapacity)
        return false;
    const size_t mask = index_.size() - 1;
    for (int32_t i = 1; i <= MaxIndex; ++i) {
        Node& node = nodes_[static_cast<size_t>(i)];
        // Its index slot; a second key of the same hash finds none (bounded).
        size_t pos = static_cast<size_t>(node.full) & mask;
        for (size_t step = 0; step <= mask; ++step, pos = (pos + 1) & mask) {
            Slot& slot = index_[pos];
            if (slot.node != 0 && slot.hash == node.full) {
                slot = Slot{};
                break;
            }
        }
        node = Node{};
        keys_[static_cast<size_t>(i)].clear();
    }
    std::fill(buckets_.begin(), buckets_.end(), 0);
    allocator_.FreeHead = 1;
    return true;
}

// A big table is only as big in memory as what went into it: the node arrays
// and the index grow on demand, so that the tables training makes (hundreds of
// thousands of nodes by their bounds) cost no pages they never use.
constexpr int32_t PhysicalStart = 1024;

void clsHashTable::init(int32_t buckets, int32_t nodes) {
    size_t capacity = 1024;
    while (capacity * 7 < static_cast<size_t>(std::min(nodes, PhysicalStart * 8)) * 10)
        capacity *= 2;
    if (reuse(buckets, nodes, capacity)) {
        growth_ = 1.5f;
        indexUsed_ = 0;
        MaxIndex = 0;
        return;
    }
    freed_ = false;
    growth_ = 1.5f;
    bucketCount_ = buckets;
    buckets_.assign(static_cast<size_t>(buckets), 0);
    bucketMemo_.assign(static_cast<size_t>(buckets), -1);
    const size_t physical = static_cast<size_t>(std::min(nodes, PhysicalStart)) + 1;
    nodes_.assign(physical, Node{});
    keys_.assign(physical, std::string());
    allocator_.Init(nodes, growth_);
    index_.assign(capacity, Slot{});
    indexUsed_ = 0;
    Size = nodes;
    MaxIndex = 0;
    // Count is left alone: a table made on first use keeps what was counted into it.
    initialised_ = true;
}

void clsHashTable::ensureInitialised() {
    if (!initialised_) InitStandard();
}

int32_t clsHashTable::bucketOf(int32_t hashValue) const {
    // The bucket of a hash value is the hash of its decimal text; values in the
    // table's own range are worked out once.
    if (hashValue >= 0 && hashValue < static_cast<int32_t>(bucketMemo_.size())) {
        int32_t& memo = bucketMemo_[static_cast<size_t>(hashValue)];
        if (memo < 0) memo = bucketOfText(hashValue);
        return memo;
    }
    return bucketOfText(hashValue);
}

int32_t clsHashTable::bucketOfText(int32_t hashValue) const {
    char text[16];
    auto [end, ec] = std::to_chars(text, text + sizeof text, hashValue);
    (void)ec;
    return cHash(std::string_view(text, static_cast<size_t>(end - text)), bucketCount_);
}

int32_t clsHashTable::walk(std::string_view key, uint64_t fullHash, int32_t hashValue) const {
    for (int32_t i = buckets_[static_cast<size_t>(bucketOf(hashValue))]; i != 0;) {
        const Node& node = nodes_[static_cast<size_t>(i)];
        if (node.hashValue == hashValue && node.full == fullHash &&
            keys_[static_cast<size_t>(i)] == key)
            return i;
        i = node.next;
    }
    return 0;
}

clsHashTable::Slot* clsHashTable::indexFind(uint64_t fullHash) {
    if (index_.empty()) return nullptr;
    const size_t mask = index_.size() - 1;
    for (size_t pos = static_cast<size_t>(fullHash) & mask;; pos = (pos + 1) & mask) {
        Slot& slot = index_[pos];
        if (slot.node == 0) return nullptr;
        if (slot.hash == fullHash) return &slot;
    }
}

void clsHashTable::indexResize(size_t capacity) {
    std::vector<Slot> old = std::move(index_);
    index_.assign(capacity, Slot{});
    const size_t mask = capacity - 1;
    for (const Slot& s : old) {
        if (s.node == 0) continue;
        size_t pos = static_cast<size_t>(s.hash) & mask;
        while (index_[pos].node != 0) pos = (pos + 1) & mask;
        index_[pos] = s;
    }
}

void clsHashTable::indexPut(uint64_t fullHash, int32_t node) {
    if (Slot* slot = indexFind(fullHash)) {
        slot->node = node;
        return;
    }
    if ((indexUsed_ + 1) * 10 > index_.size() * 7)
        indexResize(std::max<size_t>(index_.size() * 2, 1024));
    const size_t mask = index_.size() - 1;
    size_t pos = static_cast<size_t>(fullHash) & mask;
    while (index_[pos].node != 0) pos = (pos + 1) & mask;
    index_[pos] = Slot{fullHash, node};
    ++indexUsed_;
}

int32_t clsHashTable::find(std::string_view key, uint64_t fullHash, int32_t hashValue) {
    // A lookup in another chain than the key's own can only be walked.
    if (hashValue != reduce(fullHash, bucketCount_)) return walk(key, fullHash, hashValue);
    Slot* slot = indexFind(fullHash);
    if (!slot) return 0; // no key with this hash was ever added
    if (slot->node > 0 && keys_[static_cast<size_t>(slot->node)] == key) return slot->node;
    int32_t found = walk(key, fullHash, hashValue);
    if (found != 0) slot->node = found;
    return found;
}

int32_t clsHashTable::add(std::string_view key, uint64_t fullHash, int32_t hashValue, float value) {
    int32_t n = allocator_.Alloc();
    while (n > Size) Size = grownBound(Size, growth_);
    reach(n);
    int32_t bucket = bucketOf(hashValue);
    Node& node = nodes_[static_cast<size_t>(n)];
    node.next = buckets_[static_cast<size_t>(bucket)];
    buckets_[static_cast<size_t>(bucket)] = n;
    node.hashValue = hashValue;
    node.full = fullHash;
    node.value = value;
    keys_[static_cast<size_t>(n)].assign(key.data(), key.size());
    if (n > MaxIndex) MaxIndex = n;
    indexPut(fullHash, n);
    return n;
}

void clsHashTable::reach(int32_t index) {
    const auto need = static_cast<size_t>(index) + 1;
    if (need <= nodes_.size()) return;
    const size_t grown = std::min(std::max(need, nodes_.size() * 2), static_cast<size_t>(Size) + 1);
    nodes_.resize(grown);
    keys_.resize(grown);
}

std::string clsHashTable::RecString(int32_t index) const {
    if (index < 1 || index > Size || static_cast<size_t>(index) >= keys_.size()) return "";
    return keys_[static_cast<size_t>(index)];
}

float clsHashTable::RecValue(int32_t index) const {
    if (index < 1 || index > Size || static_cast<size_t>(index) >= nodes_.size()) return 0;
    return nodes_[static_cast<size_t>(index)].value;
}

void clsHashTable::ChangeValue(int32_t index, float value) {
    guarded("ChangeValue", Module, [&] {
        if (index < 1 || index > Size) throw RunError(Err::SubscriptOutOfRange);
        reach(index);
        nodes_[static_cast<size_t>(index)].value = value;
    });
}

void clsHashTable::InsertRecord(std::string_view key, float value) {
    InsertRecordHashed(key, fullHashOf(key), value);
}

void clsHashTable::InsertRecordHashed(std::string_view key, uint64_t fullHash, float value) {
    guarded("InsertRecord", Module, [&] {
        ensureInitialised();
        add(key, fullHash, reduce(fullHash, bucketCount_), value);
    });
}

clsHashRec clsHashTable::FindRec(std::string_view key, int32_t hashValue) {
    clsHashRec rec;
    guarded("FindRec", Module, [&] {
        ensureInitialised();
        uint64_t h = fullHashOf(key);
        int32_t hv = hashValue == 0 ? reduce(h, bucketCount_) : hashValue;
        int32_t i = find(key, h, hv);
        if (i == 0) return;
        rec.Key = keys_[static_cast<size_t>(i)];
        rec.Value = nodes_[static_cast<size_t>(i)].value;
        rec.Index = i;
    });
    return rec;
}

clsHashRec clsHashTable::HashFind(std::string_view key) {
    return FindRec(key, 0);
}

int32_t clsHashTable::RecIndex(std::string_view key) {
    if (!initialised_) InitStandard();
    uint64_t h = fullHashOf(key);
    return find(key, h, reduce(h, bucketCount_));
}

int32_t clsHashTable::RecIndexHashed(std::string_view key, uint64_t fullHash) {
    if (!initialised_) InitStandard();
    return find(key, fullHash, reduce(fullHash, bucketCount_));
}

void clsHashTable::AlterValue(std::string_view key, float delta) {
    guarded("AlterValue", Module, [&] {
        ensureInitialised();
        uint64_t h = fullHashOf(key);
        int32_t hv = reduce(h, bucketCount_);
        int32_t i = find(key, h, hv);
        if (i == 0) {
            add(key, h, hv, 1.0f);
            return;
        }
        float& value = nodes_[static_cast<size_t>(i)].value;
        if (delta == 0) {
            value = 1.0f;
        } else {
            value += delta;
            if (value < 0) value = 0;
        }
    });
}

bool clsHashTable::Delete(int32_t hashValue) {
    return guarded("Delete", Module, [&] {
        ensureInitialised();
        int32_t bucket = bucketOf(hashValue);
        int32_t previous = 0;
        for (int32_t i = buckets_[static_cast<size_t>(bucket)]; i != 0;) {
            Node& node = nodes_[static_cast<size_t>(i)];
            if (node.hashValue == hashValue) {
                Slot* slot = indexFind(fullHashOf(keys_[static_cast<size_t>(i)]));
                if (slot && slot->node == i) slot->node = -1;
                if (previous == 0)
                    buckets_[static_cast<size_t>(bucket)] = node.next;
                else
                    nodes_[static_cast<size_t>(previous)].next = node.next;
                allocator_.Free(i);
                freed_ = true;
                node = Node{};
                keys_[static_cast<size_t>(i)].clear();
                return;
            }
            previous = i;
            i = node.next;
        }
        raise(1, "CHash.Delete");
    });
}

bool clsHashTable::HashDelete(std::string_view key) {
    if (!initialised_) InitStandard();
    return Delete(cHash(key, bucketCount_));
}

void clsHashTable::ClearArrays() {
    nodes_ = {};
    keys_ = {};
    buckets_ = {};
    bucketMemo_ = {};
    index_ = {};
    indexUsed_ = 0;
    allocator_.Clear();
    bucketCount_ = 0;
    Size = 0;
    MaxIndex = 0;
    Count = 0;
    // Nothing can be used until an Init; the next use initialises afresh.
    initialised_ = false;
}

void clsHashTable::HashClear() {
    ClearArrays();
}

bool clsHashTable::WriteHashTable(const std::string& path) {
    return guarded("WriteHashTable", Module, [&] {
        std::string out;
        out.reserve(static_cast<size_t>(MaxIndex) * 24 + 32);
        out += "Count, String\r\n ";
        out += std::to_string(Count);
        out += " \r\n";
        for (int32_t i = 1; i <= MaxIndex && initialised_; ++i) {
            const std::string& key = keys_[static_cast<size_t>(i)];
            if (key.empty() || holdsBoundary(key)) continue;
            // A line break inside a key would split its line; such a key can't be kept.
            if (key.find('\r') != std::string::npos || key.find('\n') != std::string::npos)
                continue;
            appendValue(out, nodes_[static_cast<size_t>(i)].value);
            out += ", ";
            out += key;
            out += "\r\n";
        }
        if (FileExists(path)) MakeReadWrite(path);
        if (!WriteFileAtomically(path, out)) throw RunError(Err::PathFileAccess, path);
    });
}

bool clsHashTable::LoadTable(const std::string& path) {
    if (!FileExists(path)) return false;
    return guarded("LoadTable", Module, [&] {
        std::string text;
        if (!LoadTextFile(path, text)) throw RunError(Err::PathFileAccess, path);
        loadText(text, path, true);
    });
}

bool clsHashTable::LoadText(std::string_view text) {
    return guarded("LoadTable", Module, [&] { loadText(text, "", false); });
}

void clsHashTable::loadText(std::string_view text, const std::string& path, bool report) {
    ensureInitialised();
    const TableTextRead read = readTableText(text, [this](std::string_view key, float value) {
        uint64_t h = fullHashOf(key);
        add(key, h, reduce(h, bucketCount_), value);
    });
    Count = read.count;
    if (report) reportOutOfRange(read.outOfRange, path);
}

} // namespace corva
