// An ordered collection of messages, reachable by position (from 1) or by key.
// Messages are shared: the scanner's list, a window and a loop may hold the same one.
#pragma once

#include "message/clsMessage.h"

#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

namespace corva {

class clsMessages {
public:
    using Ptr = std::shared_ptr<clsMessage>;

    // Appends; the key is used only when it isn't empty. A key already taken
    // is recorded as an error and the message is not added. Hands oMessage back.
    Ptr Add(Ptr oMessage, const std::string& sKey = "");
    // By position from 1, or by key (ignoring case); nullptr when absent.
    Ptr Item(long index) const;
    Ptr Item(const std::string& key) const;
    long Count() const { return static_cast<long>(items_.size()); }
    void Remove(long index);
    void Remove(const std::string& key);
    void Clear();

    // Iteration in order (the collection's NewEnum).
    auto begin() const { return items_.begin(); }
    auto end() const { return items_.end(); }

private:
    long positionOfKey(const std::string& lowerKey) const;

    std::vector<Ptr> items_;
    std::vector<std::string> keys_; // parallel to items_, lower case, "" when none
    std::unordered_map<std::string, Ptr> byKey_;
};

} // namespace corva
