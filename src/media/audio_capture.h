#pragma once

#include "app/clock.h"
#include "media/audio_block.h"
#include "media/gst_handles.h"

#include <QString>

#include <array>
#include <functional>

namespace nimbara {

/// What the operator set for the input.
struct GainState {
    bool muted = false;
    double gain = 1.0; ///< linear, 0..2
};

/// Largest absolute value of one block, left and right.
struct AudioLevels {
    std::array<double, 2> peak {};
};

/// A block after gain and mute, with its levels before and after.
struct ProcessedBlock {
    AudioBlock block;
    AudioLevels input;
    AudioLevels output;
};

/// Applies gain and mute. Values that are not finite count as 0; the result is clamped to −1..1.
/// Throws `Error` "Bloque de audio incompleto" for an odd count and "Ganancia invalida" for a gain
/// that is not finite or outside 0..2.
ProcessedBlock processBlock(const AudioBlock &block, const GainState &gainState);

/// Meter position 0..100 of a peak: −60 dBFS or less is 0, 0 dBFS is 100, truncated.
int meterValue(double peak);

/// The operator's audio input: the GStreamer pipeline "nimbara-audio". Interface thread only,
/// except for destruction, which belongs on a background task.
class AudioCapture {
public:
    /// Builds the pipeline and asks for PLAYING. Without a device: a quiet test tone. Throws
    /// `Error` with the operator's text.
    AudioCapture(const Clock &clock, GstDevice *device);
    AudioCapture(const AudioCapture &) = delete;
    AudioCapture &operator=(const AudioCapture &) = delete;
    AudioCapture(AudioCapture &&) = delete;
    AudioCapture &operator=(AudioCapture &&) = delete;
    ~AudioCapture() = default;

    /// Drains what has arrived, at most 8 buffers, without waiting. Each block goes through
    /// `processBlock` and to `listener`.
    void pull(const GainState &gainState);

    /// Receiver of every processed block, called inside `pull`. Never empty.
    std::function<void(const AudioBlock &)> listener = [](const AudioBlock &) {};

    /// Still delivering; false after any failure.
    [[nodiscard]] bool running() const { return m_running; }
    /// Why the capture stopped; empty while it runs.
    [[nodiscard]] const QString &error() const { return m_error; }
    [[nodiscard]] const AudioLevels &inputLevels() const { return m_inputLevels; }
    [[nodiscard]] const AudioLevels &outputLevels() const { return m_outputLevels; }

private:
    void stop(const QString &text);

    const Clock &m_clock;
    std::int64_t m_lastBufferTime = 0;
    bool m_running = false;
    QString m_error;
    AudioLevels m_inputLevels;
    AudioLevels m_outputLevels;
    ElementRef m_sink;
    Pipeline m_pipeline;
};

} // namespace nimbara
