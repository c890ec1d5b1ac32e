// The platform's decoder on Qt: every charset Qt's converters know, with the
// plain rule for mail that names none or names one its bytes don't fit.
#include "platform/qt/QtPlatform.h"

#include <QByteArray>
#include <QString>
#include <QStringDecoder>

#include <cctype>

namespace corva::platform::qt {

namespace {

// Decoded header text mixes the encoded word's bytes with plain ASCII, which
// a charset of two or more bytes a character would turn into nonsense.
bool asciiCompatible(std::string_view charset) {
    std::string name;
    for (char c : charset) name += static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    for (const char* wide : {"utf-16", "utf16", "utf-32", "utf32", "ucs", "utf-7", "unicode"})
        if (name.find(wide) != std::string::npos) return false;
    return true;
}

class QtTextDecoder : public TextDecoder {
public:
    std::string toUtf8(std::string_view bytes, std::string_view charset) const override {
        if (!charset.empty() && !isPlainCharset(charset) && asciiCompatible(charset)) {
            QByteArray name(charset.data(), static_cast<qsizetype>(charset.size()));
            QStringDecoder decoder(name.trimmed().constData(), QStringDecoder::Flag::Stateless);
            if (decoder.isValid()) {
                QString text = decoder.decode(
                    QByteArrayView(bytes.data(), static_cast<qsizetype>(bytes.size())));
                if (!decoder.hasError()) {
                    QByteArray utf8 = text.toUtf8();
                    return std::string(utf8.constData(), static_cast<size_t>(utf8.size()));
                }
            }
        }
        return TextDecoder::toUtf8(bytes, charset);
    }
};

} // namespace

const TextDecoder& QtPlatform::textDecoder() {
    static const QtTextDecoder decoder;
    return decoder;
}

} // namespace corva::platform::qt
