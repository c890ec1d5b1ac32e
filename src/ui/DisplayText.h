// Mail text is bytes. A view shows valid UTF-8 as UTF-8 and anything else as
// Windows-1252, the usual charset of mail that names none; and back.
#pragma once

#include <QColor>
#include <QString>
#include <string>

namespace corva::ui {

QString toDisplay(const std::string& bytes);
// The user's typing as bytes: Latin-1 where it fits, else UTF-8.
std::string fromDisplay(const QString& text);
// Colours are stored with red in the low byte.
QColor colourFromStored(int stored);

} // namespace corva::ui
