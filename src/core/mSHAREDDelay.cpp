#include "core/mSHAREDDelay.h"

#include "core/DateTime.h"
#include "platform/Platform.h"

#include <cmath>

namespace corva {

void DoEvents() {
    platform::current().eventLoop().yield();
}

void WaitSeconds(float seconds) {
    auto& loop = platform::current().eventLoop();
    if (seconds <= 0) return;
    if (seconds < 1) {
        loop.sleepMs(static_cast<int>(seconds * 1000));
        return;
    }
    int halves = static_cast<int>(std::floor(seconds * 2));
    for (int i = 0; i < halves; ++i) {
        loop.sleepMs(500);
        loop.yield();
    }
    float rest = seconds - static_cast<float>(halves) * 0.5f;
    if (rest > 0) loop.sleepMs(static_cast<int>(rest * 1000));
}

void WaitMs(long milliseconds) {
    if (milliseconds <= 1000) {
        platform::current().eventLoop().sleepMs(static_cast<int>(milliseconds));
        return;
    }
    WaitSeconds(static_cast<float>(milliseconds) / 1000.0f);
}

bool WaitUntilTrue(const std::function<bool()>& flag, float seconds) {
    auto& loop = platform::current().eventLoop();
    const float start = SecondsOfDay();
    const float deadline = start + seconds;
    while (!flag()) {
        float now = SecondsOfDay();
        if (now < start) now += 86400.0f; // the wait crossed midnight
        if (now > deadline) return false;
        // One round: up to 250 ms in which events are delivered; a reply that
        // sets the flag ends the round at once instead of sleeping it out.
        loop.runUntil(flag, 250);
    }
    return true;
}

} // namespace corva
