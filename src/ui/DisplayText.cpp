#include "ui/DisplayText.h"

#include "platform/TextDecoder.h"

#include <QColor>

namespace corva::ui {

QString toDisplay(const std::string& bytes, const std::string& charset) {
    const std::string text = platform::displayText(bytes, charset);
    return QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size()));
}

std::string fromDisplay(const QString& text) {
    bool latin1 = true;
    for (QChar ch : text)
        if (ch.unicode() > 0xFF) latin1 = false;
    QByteArray bytes = latin1 ? text.toLatin1() : text.toUtf8();
    return std::string(bytes.constData(), static_cast<size_t>(bytes.size()));
}

QColor colourFromStored(int stored) {
    return QColor(stored & 0xFF, (stored >> 8) & 0xFF, (stored >> 16) & 0xFF);
}

} // namespace corva::ui
