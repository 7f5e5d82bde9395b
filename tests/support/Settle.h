// Waits for the thread that writes a recording.
#pragma once

#include "session/clsRecorder.h"

#include <chrono>
#include <thread>

/// Until each line that was handed over is in its file, or the recording has ended by itself; false after ten seconds.
/// The recorder's time stands still.
inline bool Settled(clsRecorder& recorder, double now = 46341.5)
{
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (std::chrono::steady_clock::now() < end) {
        recorder.Flush(now);
        if (recorder.Mode != RecorderRecording || recorder.Figures().waiting == 0) {
            return true;
        }
        std::this_thread::sleep_for(std::chrono::microseconds(200));
    }
    return false;
}
