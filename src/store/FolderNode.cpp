#include "store/FolderNode.h"

#include "core/ErrorHandler.h"
#include "core/Strings.h"
#include "store/modFolders.h"
#include "store/modTags.h"

namespace corva {

bool scanfolder(const std::string& folder, FolderNode& node, const AgeColours& ages) {
    bool changed = false;
    guarded("scanfolder", "frmMailer", [&] {
        auto set = [&](auto& field, const auto& value) {
            if (field != value) {
                field = value;
                changed = true;
            }
        };
        int count = readunreadtag(folder);
        if (count <= 0) {
            set(node.Bold, false);
            set(node.Text, removecount(node.Text));
            set(node.Colour, std::optional<int32_t>());
            return;
        }
        set(node.Bold, true);
        set(node.Text, removecount(node.Text) + " (" + Str(count) + ")");
        set(node.Colour, std::optional<int32_t>(ages.colourFor(readlastmessagetag(folder))));
    });
    return changed;
}

bool scanfolder(const std::string& folder, FolderNode& node) {
    return scanfolder(folder, node, AgeColours::FromSettings());
}

} // namespace corva
