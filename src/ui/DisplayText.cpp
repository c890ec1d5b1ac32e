#include "ui/DisplayText.h"

#include <QColor>
#include <QStringDecoder>

namespace corva::ui {

namespace {
// Windows-1252's characters for 0x80..0x9F; 0 where the code page has none.
const char16_t kCp1252High[32] = {0x20AC, 0,      0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                  0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0,      0x017D, 0,
                                  0,      0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                  0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0,      0x017E, 0x0178};
} // namespace

QString toDisplay(const std::string& bytes) {
    QStringDecoder utf8(QStringDecoder::Utf8, QStringDecoder::Flag::Stateless);
    QString text = utf8.decode(QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
    if (!utf8.hasError()) return text;
    QString out;
    out.reserve(static_cast<qsizetype>(bytes.size()));
    for (unsigned char c : bytes) {
        if (c >= 0x80 && c < 0xA0 && kCp1252High[c - 0x80])
            out.append(QChar(kCp1252High[c - 0x80]));
        else
            out.append(QChar(c));
    }
    return out;
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
