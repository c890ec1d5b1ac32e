// The platform's decoder on Qt: every charset Qt's converters know, with the
// plain rule for mail that names none or names one its bytes don't fit.
#include "platform/qt/QtPlatform.h"

#include <QByteArray>
#include <QString>
#include <QStringDecoder>

namespace corva::platform::qt {

namespace {

class QtTextDecoder : public TextDecoder {
public:
    std::string toUtf8(std::string_view bytes, std::string_view charset) const override {
        if (!charset.empty() && !isPlainCharset(charset)) {
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
