// The ordered, keyed collection of messages.
#include "message/clsMessages.h"

#include "core/ErrorHandler.h"
#include "message/TextScan.h"

namespace corva {

namespace {
constexpr const char* Module = "clsMessages";
// Keys are matched without regard to case, as callers have always looked them up.
std::string normalKey(const std::string& key) {
    return textscan::lowerCopy(key);
}
} // namespace

clsMessages::Ptr clsMessages::Add(Ptr oMessage, const std::string& sKey) {
    guarded("Add", Module, [&] {
        std::string key = normalKey(sKey);
        if (!key.empty() && byKey_.count(key))
            throw RunError(457,
                           "This key is already associated with an element of this collection");
        items_.push_back(oMessage);
        keys_.push_back(key);
        if (!key.empty()) byKey_.emplace(key, oMessage);
    });
    return oMessage;
}

clsMessages::Ptr clsMessages::Item(long index) const {
    if (index < 1 || index > Count()) return nullptr;
    return items_[static_cast<size_t>(index) - 1];
}

clsMessages::Ptr clsMessages::Item(const std::string& key) const {
    auto it = byKey_.find(normalKey(key));
    return it == byKey_.end() ? nullptr : it->second;
}

long clsMessages::positionOfKey(const std::string& lowerKey) const {
    for (size_t i = 0; i < keys_.size(); ++i)
        if (keys_[i] == lowerKey) return static_cast<long>(i) + 1;
    return 0;
}

void clsMessages::Remove(long index) {
    if (index < 1 || index > Count()) return;
    size_t i = static_cast<size_t>(index) - 1;
    if (!keys_[i].empty()) byKey_.erase(keys_[i]);
    items_.erase(items_.begin() + static_cast<long>(i));
    keys_.erase(keys_.begin() + static_cast<long>(i));
}

void clsMessages::Remove(const std::string& key) {
    std::string k = normalKey(key);
    if (k.empty() || !byKey_.count(k)) return;
    Remove(positionOfKey(k));
}

void clsMessages::Clear() {
    items_.clear();
    keys_.clear();
    byKey_.clear();
}

} // namespace corva
