// The tool commands' progress: one line on standard error that rewrites itself
// a few times a second, and Ctrl-C as the window's Stop button.
#pragma once

#include "app/HeadlessSession.h"
#include "app/Terminal.h"
#include "core/FileSubs.h"
#include "core/Globals.h"
#include "core/Strings.h"
#include "core/TerminalText.h"
#include "tools/ToolListener.h"

#include <chrono>
#include <optional>
#include <string>

namespace corva::app {

class ToolProgress : public ToolListener {
public:
    ToolProgress() { CatchInterrupt(); }
    ~ToolProgress() override { line_.clear(); }
    void Status(const std::string& text) override {
        const auto now = std::chrono::steady_clock::now();
        if (now - last_ < std::chrono::milliseconds(100)) return;
        last_ = now;
        line_.show(terminalLine(text));
    }
    bool StopRequested() override { return Interrupted(); }
    void clear() { line_.clear(); }

private:
    ProgressLine line_;
    std::chrono::steady_clock::time_point last_{};
};

// A folder named on the command line: relative to the mail store ("Inbox",
// "Sent Items/Old"), or a path of its own; nothing when there is no such folder.
inline std::optional<std::string> StoreFolder(const std::string& name) {
    std::string relative = ToSlashes(Trim(name));
    if (!relative.empty() && relative.front() == '/' && FolderExists(relative))
        return addslash(relative);
    while (!relative.empty() && relative.front() == '/') relative.erase(0, 1);
    std::string folder = addslash(ResolvePath(addslash(MessageFolder + relative)));
    if (FolderExists(folder)) return folder;
    return std::nullopt;
}

} // namespace corva::app
