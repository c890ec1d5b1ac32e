// What a folder's node in the tree should look like, from its tag files alone:
// bold with " (count)" and an age colour while it holds unread mail.
#pragma once

#include "store/AgeColours.h"

#include <cstdint>
#include <optional>
#include <string>

namespace corva {

struct FolderNode {
    std::string Text;
    bool Bold = false;
    // No value: the view's normal text colour.
    std::optional<int32_t> Colour;
    bool operator==(const FolderNode&) const = default;
};

// Brings the node in line with the folder's Unread.tag and LastMsg.tag,
// touching only what differs. True when anything changed, so the view repaints
// once after a whole pass.
bool scanfolder(const std::string& folder, FolderNode& node, const AgeColours& ages);
bool scanfolder(const std::string& folder, FolderNode& node);

} // namespace corva
