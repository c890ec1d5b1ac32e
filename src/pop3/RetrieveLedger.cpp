#include "pop3/RetrieveLedger.h"

#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "message/clsMessage.h"

#include <cstdint>
#include <cstdlib>

namespace corva {

namespace {

// FNV-1a from two starting points: 128 bits, so that two messages of one
// size practically never share a key. Hex keeps the file free of whatever
// bytes a hostile header carries.
std::string digest(const std::string& text) {
    uint64_t a = 14695981039346656037ull;
    uint64_t b = 0x84222325cbf29ce4ull;
    for (unsigned char c : text) {
        a = (a ^ c) * 1099511628211ull;
        b = (b ^ c) * 0x100000001b3ull;
        b ^= b >> 29;
    }
    static const char hex[] = "0123456789abcdef";
    std::string out;
    for (uint64_t v : {a, b})
        for (int shift = 60; shift >= 0; shift -= 4) out += hex[(v >> shift) & 0xf];
    return out;
}

constexpr const char* OwnerTag = "mailbox ";

} // namespace

std::string RetrieveLedger::keyFor(const clsMessage& msg, long long listedOctets) {
    std::string id = Trim(msg.MessageID);
    return Str(listedOctets) + " " + digest(id.empty() ? "headers " + msg.Headers : "id " + id);
}

std::string RetrieveLedger::pathFor(int account) {
    return addslash(DataFolder) + "Retrieved" + Str(account) + ".txt";
}

void RetrieveLedger::open(const std::string& path, const std::string& user,
                          const std::string& server) {
    close();
    path_ = path;
    owner_ = OwnerTag + digest(user + "\n" + server);
    std::string text;
    if (!FileExists(path) || !LoadTextFile(path, text)) return;
    std::vector<std::string> lines = SplitLines(text);
    if (lines.empty() || lines[0] != owner_) {
        // Another mailbox's record says nothing about this one.
        changed_ = true;
        return;
    }
    for (size_t i = 1; i < lines.size(); ++i)
        if (!lines[i].empty()) entries_[lines[i]].earlier = true;
}

void RetrieveLedger::close() {
    path_.clear();
    entries_.clear();
    changed_ = false;
}

bool RetrieveLedger::storedEarlier(const std::string& key) const {
    auto it = entries_.find(key);
    return it != entries_.end() && it->second.earlier;
}

void RetrieveLedger::recordStored(const std::string& key) {
    if (!isOpen()) return;
    auto [it, added] = entries_.try_emplace(key);
    it->second.seen = true;
    changed_ = changed_ || added;
}

void RetrieveLedger::seen(const std::string& key) {
    auto it = entries_.find(key);
    if (it != entries_.end()) it->second.seen = true;
}

void RetrieveLedger::keepSizes(const std::multiset<long long>& listedOctets) {
    for (auto it = entries_.begin(); it != entries_.end();) {
        // The size is the key's first word (Val would read on past the blank).
        long long size = std::strtoll(it->first.c_str(), nullptr, 10);
        if (listedOctets.count(size)) {
            ++it;
        } else {
            it = entries_.erase(it);
            changed_ = true;
        }
    }
}

void RetrieveLedger::forgetUnseen() {
    for (auto it = entries_.begin(); it != entries_.end();) {
        if (it->second.seen) {
            ++it;
        } else {
            it = entries_.erase(it);
            changed_ = true;
        }
    }
}

bool RetrieveLedger::save() {
    if (!isOpen() || !changed_) return true;
    std::string text = owner_ + "\n";
    for (const auto& [key, entry] : entries_) text += key + "\n";
    if (!WriteFileExactly(path_, text)) return false;
    changed_ = false;
    return true;
}

} // namespace corva
