// Waits and the event yield. These are the only places where a long operation
// lets other events in, so callers must expect re-entry.
#pragma once

#include <functional>

namespace corva {

// One pass over the pending window, socket and timer events.
void DoEvents();
// Below 1 second a plain sleep; from 1 second, half-second sleeps each followed
// by one event pass, then the rest as a sleep.
void WaitSeconds(float seconds);
// Up to 1000 ms a plain sleep with no yield; above, as WaitSeconds.
void WaitMs(long milliseconds);
// Spins until the flag turns true or the seconds run out, each round sleeping
// 250 ms and passing events once; the deadline is in seconds of the day. True
// when the flag turned.
bool WaitUntilTrue(const std::function<bool()>& flag, float seconds);

} // namespace corva
