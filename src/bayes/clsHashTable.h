// A chained hash table from text to a single-precision value: the word table
// of probabilities and the good and bad tables of counts. Nodes live in flat
// arrays with integer links so that tables of hundreds of thousands of tokens
// load, grow and scan quickly.
#pragma once

#include "bayes/clsHashNodes.h"
#include "bayes/clsHashRec.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace corva {

// The hash of a key (up to its first NUL) into 0 .. size - 1.
int32_t cHash(std::string_view key, int32_t size);
// The whole hash a table keeps for a key (FullHashAt), to look it up with RecIndexHashed.
uint64_t KeyHash(std::string_view key);

class clsHashTable {
public:
    int32_t Size = 0;     // upper bound of the node arrays; 0 until initialised
    int32_t MaxIndex = 0; // highest node number ever used
    int32_t Count = 0;    // messages that went into the table; kept in its file

    // The key and value at a node number ("" and 0 outside the table).
    std::string RecString(int32_t index) const;
    float RecValue(int32_t index) const;
    void ChangeValue(int32_t index, float value);
    // Writes every node with a key, in node order; false when the file can't be written.
    bool WriteHashTable(const std::string& path);
    // Adds the records of a file to what is there; a missing file adds nothing.
    bool LoadTable(const std::string& path);
    // The same for a file's text read before (its out-of-range values reported then).
    bool LoadText(std::string_view text);
    // A new node, without looking for the key first.
    void InsertRecord(std::string_view key, float value);
    // The same for a key whose full hash is known (FullHashAt of another table).
    void InsertRecordHashed(std::string_view key, uint64_t fullHash, float value);
    clsHashRec HashFind(std::string_view key);
    clsHashRec Hashrecord(std::string_view key) { return HashFind(key); }
    // Finds or adds the key and adds delta (0 sets 1); never below 0.
    void AlterValue(std::string_view key, float delta);
    void Insert(std::string_view key) { AlterValue(key, 1.0f); }
    // Removes the newest node whose stored hash value is this one; false if none.
    bool Delete(int32_t hashValue);
    // With hashValue 0 the key is hashed first.
    clsHashRec FindRec(std::string_view key, int32_t hashValue);
    // The node number of a key, 0 if absent.
    int32_t RecIndex(std::string_view key);
    // The same for a key whose full hash is known (FullHashAt of another table),
    // so that a token moved between tables is hashed once.
    int32_t RecIndexHashed(std::string_view key, uint64_t fullHash);
    uint64_t FullHashAt(int32_t index) const { return nodes_[static_cast<size_t>(index)].full; }
    void InitSmall() { init(50, 500); }
    void InitStandard() { init(20000, 50000); }
    void InitBig() { init(50000, 100000); }
    void InitHuge() { init(85000, 350000); }
    // Frees the arrays without initialising again.
    void ClearArrays();
    bool HashDelete(std::string_view key);
    // Clears the initialised flag and frees the arrays.
    void HashClear();

    bool Initialised() const { return initialised_; }
    int32_t BucketCount() const { return bucketCount_; }
    // The stored hash value of a key, as Delete takes it.
    int32_t HashValueOf(std::string_view key) const { return cHash(key, bucketCount_); }
    // Direct access for scans over 1 .. MaxIndex (empty keys are free nodes).
    const std::string& KeyAt(int32_t index) const { return keys_[static_cast<size_t>(index)]; }
    float ValueAt(int32_t index) const { return nodes_[static_cast<size_t>(index)].value; }

private:
    struct Node {
        int32_t next = 0;
        int32_t hashValue = 0;
        float value = 0;
        uint64_t full = 0; // the key's whole hash, so chain walks rarely compare text
    };

    // The chains are the table; this index from a key's hash to the newest node
    // of that key only spares long chain walks in tables of many thousand nodes.
    // A slot's node is 0 when free and -1 when it must be found in the chain.
    struct Slot {
        uint64_t hash = 0;
        int32_t node = 0;
    };
    Slot* indexFind(uint64_t fullHash);
    void indexPut(uint64_t fullHash, int32_t node);
    void indexResize(size_t capacity);
    int32_t walk(std::string_view key, uint64_t fullHash, int32_t hashValue) const;
    bool reuse(int32_t buckets, int32_t nodes, size_t indexCapacity);

    void init(int32_t buckets, int32_t nodes);
    void loadText(std::string_view text, const std::string& path, bool report);
    // Makes the node arrays reach a node number within Size.
    void reach(int32_t index);
    void ensureInitialised();
    int32_t bucketOf(int32_t hashValue) const;
    int32_t bucketOfText(int32_t hashValue) const;
    int32_t find(std::string_view key, uint64_t fullHash, int32_t hashValue);
    int32_t add(std::string_view key, uint64_t fullHash, int32_t hashValue, float value);
    [[noreturn]] void raise(int code, const std::string& source) const;

    clsHashNodes allocator_;
    std::vector<Node> nodes_;                 // index 0 unused
    std::vector<std::string> keys_;           // parallel to nodes_
    std::vector<int32_t> buckets_;            // heads of chains, 0 for none
    mutable std::vector<int32_t> bucketMemo_; // bucketOf by hash value, -1 until worked out
    std::vector<Slot> index_;                 // open addressing, a power of two long
    size_t indexUsed_ = 0;
    int32_t bucketCount_ = 0;
    float growth_ = 1.5f;
    bool initialised_ = false;
    bool freed_ = false; // a node went back to the free list since the last init
};

} // namespace corva
