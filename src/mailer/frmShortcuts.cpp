#include "mailer/frmShortcuts.h"

#include "core/ErrorHandler.h"
#include "core/mSHAREDSettings.h"

namespace corva {

std::string frmShortcuts::ShortcutText(int digit) {
    return guardedValue("ShortcutText", "frmShortcuts", std::string(), [&] {
        return sget(key(digit), "Shortcut " + std::to_string(digit)).toText();
    });
}

void frmShortcuts::Form_Load() {
    guarded("Form_Load", "frmShortcuts", [&] {
        for (int i = 1; i <= Count; ++i)
            texts_[static_cast<size_t>(i - 1)] =
                sget(key(i), "Shortcut " + std::to_string(i)).toText();
    });
}

void frmShortcuts::cmdOK_Click() {
    guarded("cmdOK_Click", "frmShortcuts", [&] {
        for (int i = 1; i <= Count; ++i) sset(key(i), texts_[static_cast<size_t>(i - 1)]);
        savesettings();
    });
}

} // namespace corva
