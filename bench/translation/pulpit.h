#pragma once

#include "base/clock.h"
#include "media/capture/audio_capture.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

namespace nimbara::bench {

/// Milliseconds since the epoch, as servers on this machine tell them.
double nowMs();

/// A microphone that delivers 48 kHz stereo at the pace of the clock, in blocks of 10 ms as a sound
/// card does: a tone while it speaks, else silence. Must outlive its captures.
class Pulpit {
public:
    Pulpit();
    ~Pulpit();
    Pulpit(const Pulpit &) = delete;
    Pulpit &operator=(const Pulpit &) = delete;
    Pulpit(Pulpit &&) = delete;
    Pulpit &operator=(Pulpit &&) = delete;

    /// The capture of what it delivers; one at a time.
    [[nodiscard]] std::unique_ptr<AudioCapture> capture(const Clock &clock) const;

    void speak(std::chrono::milliseconds time) { m_blocks = static_cast<int>(time.count() / 10); }

    /// When the last sample of the tone was over (`nowMs`).
    [[nodiscard]] double endedMs() const { return m_ended; }

private:
    void deliver();

    int m_writeEnd = -1;
    int m_readEnd = -1;
    std::atomic<int> m_blocks = 0; ///< of the tone, still to come
    std::atomic<double> m_ended = 0;
    std::atomic<bool> m_over = false;
    std::thread m_thread;
};

} // namespace nimbara::bench
