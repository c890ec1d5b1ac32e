// "corva folders": the mailer's folder tree with the unread counts its tags
// hold, built from folders.ini as the window builds it.
#include "app/Command.h"
#include "app/HeadlessSession.h"
#include "app/Json.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "store/FolderNode.h"
#include "store/clsMailer.h"
#include "store/modFolders.h"
#include "store/modTags.h"

#include <iostream>
#include <string>
#include <vector>

namespace corva::app {
namespace {

struct Node {
    std::string text;
    int parent = -1;
    int depth = 0;
    std::string path; // relative to the message root, ending in "/"
};

// Nodes find their parent by its text, as the tree does: folders.ini names
// leaves only, so the latest node of that name is taken.
class TreeBuilder : public MailerListener {
public:
    std::vector<Node> nodes;
    void ClearFolders() override { nodes.clear(); }
    void AddFolder(const std::string& text, const std::string& parentText) override {
        Node n;
        n.text = text;
        if (!parentText.empty()) {
            for (int i = static_cast<int>(nodes.size()) - 1; i >= 0; --i) {
                if (nodes[static_cast<size_t>(i)].text == parentText) {
                    n.parent = i;
                    break;
                }
            }
            if (n.parent < 0) return; // an orphan line of a damaged folders.ini
            const Node& p = nodes[static_cast<size_t>(n.parent)];
            n.depth = p.depth + 1;
            n.path = p.path + text + "/";
        }
        nodes.push_back(n);
    }
};

int run(CommandArgs& args) {
    const bool rebuild = args.flag("--rebuild");
    const bool json = args.flag("--json");
    if (auto status = args.refused("corva folders [--rebuild] [--json]", 0, 0)) return *status;
    HeadlessSession session;
    clsMailer mailer;
    TreeBuilder tree;
    mailer.setListener(&tree);
    if (rebuild || !FileExists(FoldersIniPath)) {
        // The folder list made from the directories as the window would make
        // it, without writing it: this command only reads.
        tree.AddFolder("Folders", "");
        const std::vector<std::string> lines = SplitLines(FolderIniText());
        for (size_t i = 0; i + 1 < lines.size(); i += 2) tree.AddFolder(lines[i], lines[i + 1]);
    } else {
        mailer.PopulateFolders(false);
    }

    AgeColours ages = AgeColours::FromSettings();
    if (json) std::cout << "[";
    bool first = true;
    for (const Node& n : tree.nodes) {
        std::string text = n.text;
        long count = 0;
        if (n.parent >= 0) {
            std::string folder = MessageFolder + n.path;
            if (EqualsNoCase(n.path, std::string(OutboxFolder) + "/")) {
                // The Outbox counts what waits to be sent, read or not.
                std::vector<std::string> files;
                FillFiles(folder, "EML", files);
                count = static_cast<long>(files.size());
                if (count) text += " (" + Str(static_cast<long long>(count)) + ")";
            } else {
                FolderNode node{text, false, std::nullopt};
                scanfolder(folder, node, ages);
                text = node.Text;
                if (node.Bold) count = readunreadtag(folder);
            }
        }
        if (json) {
            std::string path = n.path;
            if (!path.empty()) path.pop_back();
            std::cout << (first ? "\n  " : ",\n  ")
                      << JsonObject()
                             .text("name", n.text)
                             .text("path", path)
                             .integer("depth", n.depth)
                             .integer("count", count)
                             .str();
            first = false;
            continue;
        }
        std::cout << std::string(static_cast<size_t>(n.depth) * 2, ' ') << terminalLine(text)
                  << "\n";
    }
    if (json) std::cout << (first ? "]\n" : "\n]\n");
    return 0;
}

const CommandRegistration registration({
    "folders",
    "corva folders [--rebuild] [--json]",
    "List the mail folders with their unread counts",
    "Counts come from each folder's Unread.tag, as the mailer's tree shows them;\n"
    "the Outbox shows how many messages wait to be sent. The tree is read from\n"
    "folders.ini; without one, or with --rebuild, it is made from the directories\n"
    "under the message folder (and not written).\n"
    "--json writes a list of {\"name\", \"path\" (under the message folder, \"\" for\n"
    "the top), \"depth\", \"count\" (unread mail; for the Outbox, what waits)}.",
    run,
});

} // namespace
} // namespace corva::app
