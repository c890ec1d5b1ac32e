// Mail text is bytes. A view shows it through the platform's display decoder,
// as the terminal does: the declared charset, else UTF-8 if valid, else
// Windows-1252, the usual charset of mail that names none; and back.
#pragma once

#include <QColor>
#include <QString>
#include <string>

namespace corva::ui {

QString toDisplay(const std::string& bytes, const std::string& charset = "");
// The user's typing as bytes: Latin-1 where it fits, else UTF-8.
std::string fromDisplay(const QString& text);
// Colours are stored with red in the low byte.
QColor colourFromStored(int stored);

} // namespace corva::ui
