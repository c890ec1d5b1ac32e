// The numbered text shortcuts of the composer: Alt with a digit puts the text
// of Shortcut_<digit> at the caret; the setup window edits Shortcut_1 to
// Shortcut_10.
#pragma once

#include <array>
#include <string>

namespace corva {

class frmShortcuts {
public:
    static constexpr int Count = 10;

    // What Alt+digit inserts, digit 0 to 9.
    static std::string ShortcutText(int digit);

    // The ten texts the window edits, entry 1 first.
    void Form_Load();
    const std::string& Text(int entry) const { return texts_.at(static_cast<size_t>(entry - 1)); }
    void setText(int entry, const std::string& text) {
        texts_.at(static_cast<size_t>(entry - 1)) = text;
    }
    // "OK": the texts go into the settings, which are saved.
    void cmdOK_Click();

private:
    // Entry 10 writes Shortcut_10, which no digit reads, and Alt+0 reads
    // Shortcut_0, which no entry edits: the keys have always been so.
    static std::string key(int number) { return "Shortcut_" + std::to_string(number); }
    std::array<std::string, Count> texts_;
};

} // namespace corva
