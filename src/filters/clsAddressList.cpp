// A block or ignore list with its file and its index.
#include "filters/clsAddressList.h"

#include "core/ErrorHandler.h"
#include "core/FileSubs.h"
#include "core/Strings.h"

#include <algorithm>

namespace corva {

namespace {

constexpr int KeyExists = 457;

std::string exactForm(const std::string& text) {
    return Trim(LCase(text));
}

} // namespace

void clsAddressList::Clear() {
    items_.clear();
    keys_.clear();
    exact_.clear();
    substrings_ = SubstringIndex();
    stale_ = false;
}

void clsAddressList::indexAdd(const std::string& item) {
    if (match_ == Match::Exact)
        ++exact_[exactForm(item)];
    else
        stale_ = true;
}

void clsAddressList::indexRemove(const std::string& item) {
    if (match_ == Match::Exact) {
        auto it = exact_.find(exactForm(item));
        if (it != exact_.end() && --it->second == 0) exact_.erase(it);
    } else {
        stale_ = true;
    }
}

void clsAddressList::Add(const std::string& text) {
    const std::string key = LCase(text);
    if (key.empty()) throw RunError(Err::InvalidCall);
    if (keys_.count(key))
        throw RunError(KeyExists,
                       "This key is already associated with an element of this collection");
    keys_.insert(key);
    items_.push_back(text);
    indexAdd(text);
}

void clsAddressList::Remove(const std::string& text) {
    const std::string key = LCase(text);
    if (!keys_.erase(key)) throw RunError(Err::InvalidCall);
    auto it = std::find_if(items_.begin(), items_.end(),
                           [&](const std::string& item) { return LCase(item) == key; });
    if (it == items_.end()) return;
    indexRemove(*it);
    items_.erase(it);
}

bool clsAddressList::Contains(const std::string& text) const {
    return keys_.count(LCase(text)) > 0;
}

void clsAddressList::Load(const std::string& path) {
    Clear();
    unreadFile_.clear();
    const std::string resolved = ResolvePath(path);
    if (!FileExists(resolved)) return;
    std::string text;
    if (!LoadTextFile(resolved, text)) {
        unreadFile_ = resolved;
        return;
    }
    for (const std::string& line : SplitLines(text))
        guarded("loadlist", "frmFilters", [&] { Add(LCase(line)); });
}

bool clsAddressList::Save(const std::string& path) const {
    const std::string resolved = ResolvePath(path);
    if (resolved == unreadFile_) {
        NoteFailedWrite("SaveList", resolved + " could not be read; not saved over it");
        return false;
    }
    if (items_.empty()) {
        if (FileExists(resolved)) return EraseFile(resolved);
        return true;
    }
    std::string text;
    for (const std::string& item : items_) {
        text += item;
        text += "\r\n";
    }
    return WriteFileAtomically(resolved, text);
}

bool clsAddressList::Test(const std::string& address) const {
    if (items_.empty()) return false;
    if (match_ == Match::Exact) return exact_.count(exactForm(address)) > 0;
    if (stale_) {
        substrings_.build(items_);
        stale_ = false;
    }
    return substrings_.containsAny(address);
}

} // namespace corva
