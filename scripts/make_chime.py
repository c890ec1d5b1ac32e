#!/usr/bin/env python3
"""Writes resources/ClockChime.wav, the new-mail chime: two soft bell strokes.

Run it again after changing the tones; the file is committed so that a build
needs nothing but the repository.
"""
import math
import os
import struct
import wave

RATE = 16000
LENGTH = 1.2  # seconds
# Each stroke: start in seconds, fundamental in Hz. A falling third.
STROKES = [(0.0, 659.25), (0.28, 523.25)]
# Bell-like partials: ratio to the fundamental, loudness, decay per second.
PARTIALS = [(1.0, 1.0, 3.5), (2.0, 0.45, 5.0), (2.76, 0.25, 7.0), (5.4, 0.08, 11.0)]


def sample(t):
    value = 0.0
    for start, base in STROKES:
        dt = t - start
        if dt < 0:
            continue
        attack = min(1.0, dt / 0.004)  # a few milliseconds, so the stroke doesn't click
        for ratio, loud, decay in PARTIALS:
            value += attack * loud * math.exp(-decay * dt) * math.sin(2 * math.pi * base * ratio * dt)
    fade = min(1.0, (LENGTH - t) / 0.05)  # end in silence
    return value * fade


def main():
    frames = [sample(i / RATE) for i in range(int(RATE * LENGTH))]
    peak = max(abs(f) for f in frames)
    scale = 0.6 * 32767 / peak
    data = b"".join(struct.pack("<h", int(round(f * scale))) for f in frames)
    out = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "resources", "ClockChime.wav")
    with wave.open(out, "wb") as w:
        w.setnchannels(1)
        w.setsampwidth(2)
        w.setframerate(RATE)
        w.writeframes(data)


if __name__ == "__main__":
    main()
