#pragma once

#include "base/clock.h"
#include "base/message.h"
#include "media/capture/block_gather.h"
#include "media/gst/pipeline_start.h"
#include "signal/audio_levels.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace nimbara {

/// The operator's audio input: the GStreamer pipeline "nimbara-audio". Interface thread only,
/// except for destruction, which belongs on a background task.
class AudioCapture {
public:
    /// Builds the pipeline and asks for PLAYING. A device may take 30 s to open. Without a device:
    /// a quiet test tone. Throws `Error` with the operator's text.
    AudioCapture(const Clock &clock, GstDevice *device);
    AudioCapture(const AudioCapture &) = delete;
    AudioCapture &operator=(const AudioCapture &) = delete;
    AudioCapture(AudioCapture &&) = delete;
    AudioCapture &operator=(AudioCapture &&) = delete;
    ~AudioCapture() = default;

    /// Drains what has arrived, at most 8 buffers, without waiting. Each block goes through
    /// `processBlock` and to `listener`. A second that nobody pulls is not lost: the block that
    /// follows is the longer.
    void pull(const GainState &gainState);

    /// Receiver of every processed block, called inside `pull`. Never empty.
    std::function<void(const AudioBlock &)> listener = [](const AudioBlock &) {};

    /// Still delivering; false after any failure.
    [[nodiscard]] bool running() const { return m_running; }
    /// Why the capture stopped; empty while it runs.
    [[nodiscard]] const Message &error() const { return m_error; }
    [[nodiscard]] const AudioLevels &inputLevels() const { return m_inputLevels; }
    [[nodiscard]] const AudioLevels &outputLevels() const { return m_outputLevels; }

private:
    void build(GstDevice *device);
    void play(bool isDevice);
    bool takeBusMessage();
    bool takeSample(GstSample *sample, const GainState &gainState);
    void watchSilence();
    [[nodiscard]] bool isOpening();
    void stop(const Message &reason);

    const Clock &m_clock;
    std::int64_t m_begun = 0; ///< µs
    std::int64_t m_lastBufferTime = 0;
    bool m_running = false;
    Message m_error;
    AudioLevels m_inputLevels;
    AudioLevels m_outputLevels;
    ElementRef m_sink;
    std::shared_ptr<BlockGather> m_gather; ///< before the sink
    Pipeline m_pipeline;
    /// Last, so that a device's start has come back before its pipeline stops.
    PipelineStart m_start;
};

} // namespace nimbara
