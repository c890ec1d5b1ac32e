// The scanner and the mailer keep their window state in the settings as a
// WindowState number; these turn it into the window and back.
#pragma once

#include "cycle/frmMainView.h"

#include <QWidget>

namespace corva::ui {

// Shows the window maximised or normal, in front and focused.
inline void showInFront(QWidget& window, bool maximised) {
    if (maximised)
        window.showMaximized();
    else
        window.showNormal();
    window.raise();
    window.activateWindow();
}

inline int stateOf(const QWidget& window) {
    if (window.isMaximized()) return WindowState::Maximised;
    if (window.isMinimized()) return WindowState::Minimised;
    return WindowState::Normal;
}

} // namespace corva::ui
