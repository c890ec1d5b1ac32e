// Every picture Corva shows is drawn here with vector shapes, so it stays
// crisp at any scale and follows the desktop's light or dark palette.
#pragma once

#include "cycle/frmMainView.h"

#include <QIcon>
#include <QString>

namespace corva::ui {

// The program's own icon.
QIcon appIcon();
// The tray pictures: the two flashing frames, mail, lots of mail, error.
QIcon trayIcon(TrayPicture picture);
// Toolbar and menu pictures by their command key: "scan", "delete",
// "sendreceive", "stop", "upload", "download", "updownwithclear", "reinforce",
// "settings", "close", "quit", "sendrcvdel", "mailer", "filters", "contacts".
QIcon commandIcon(const QString& key);
// The mailer's own pictures: its toolbar ("help", "scanner", "print", "tkl",
// "newemail", "forward", "reply", "unread", "readandunread") and its rows'
// flags ("blank", "unread", "exclaimunreadreply", ...); null for other keys.
QIcon mailerIcon(const QString& key);

} // namespace corva::ui
