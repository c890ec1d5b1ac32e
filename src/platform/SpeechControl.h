// What a speech engine may add to Speech: whether it can speak at all, and
// stopping what it is saying. The logic asks for it with a dynamic_cast, so
// platforms without it read as "no speech engine".
#pragma once

#include "platform/Platform.h"

namespace corva::platform {

class SpeechControl {
public:
    virtual ~SpeechControl() = default;
    virtual bool available() = 0;
    virtual void stop() = 0;
};

// The speech facility's control, or null when it has none.
inline SpeechControl* speechControl() {
    return dynamic_cast<SpeechControl*>(&current().speech());
}

} // namespace corva::platform
