// Speech through Qt TextToSpeech.
#pragma once

#include "platform/SpeechControl.h"

#include <memory>

namespace corva::platform::qt {

std::unique_ptr<Speech> makeQtSpeech();

} // namespace corva::platform::qt
