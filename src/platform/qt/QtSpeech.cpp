// Reading aloud through Qt TextToSpeech with the first engine the system
// offers; with none, the facility says it can't speak.
#include "platform/qt/QtSpeech.h"

#include <QTextToSpeech>

namespace corva::platform::qt {
namespace {

class QtSpeech : public Speech, public SpeechControl {
public:
    bool available() override { return engine() != nullptr; }
    void speak(const std::string& text) override {
        if (QTextToSpeech* tts = engine()) tts->say(QString::fromStdString(text));
    }
    void stop() override {
        if (tts_) tts_->stop();
    }

private:
    QTextToSpeech* engine() {
        if (!looked_) {
            looked_ = true;
            const QStringList engines = QTextToSpeech::availableEngines();
            if (!engines.isEmpty()) {
                tts_ = std::make_unique<QTextToSpeech>(engines.front());
                if (tts_->state() == QTextToSpeech::Error) tts_.reset();
            }
        }
        return tts_.get();
    }
    bool looked_ = false;
    std::unique_ptr<QTextToSpeech> tts_;
};

} // namespace

std::unique_ptr<Speech> makeQtSpeech() {
    return std::make_unique<QtSpeech>();
}

} // namespace corva::platform::qt
