// What the scanner and the mailer windows share: the window state they keep
// in the settings as a WindowState number, and the cycle's function keys.
#pragma once

#include "cycle/frmMain.h"
#include "cycle/frmMainView.h"

#include <QShortcut>
#include <QWidget>

#include <functional>

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

// F2, F3 and F5, alone and with Ctrl, handed to press.
inline void addCycleKeys(QWidget& window, const std::function<void(frmMain::Key, bool)>& press) {
    for (bool ctrl : {false, true})
        for (const auto& binding :
             {std::pair{Qt::Key_F2, frmMain::Key::F2}, std::pair{Qt::Key_F3, frmMain::Key::F3},
              std::pair{Qt::Key_F5, frmMain::Key::F5}}) {
            // A named copy: clang 14 can't capture a structured binding.
            const Qt::Key qtKey = binding.first;
            const frmMain::Key key = binding.second;
            auto* shortcut =
                new QShortcut(ctrl ? QKeySequence(Qt::CTRL | qtKey) : QKeySequence(qtKey), &window);
            QObject::connect(shortcut, &QShortcut::activated, &window,
                             [press, key, ctrl] { press(key, ctrl); });
        }
}

} // namespace corva::ui
