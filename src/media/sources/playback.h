#pragma once

#include "media/gst/gst_handles.h"
#include "media/gst/pipeline_start.h"

#include <chrono>
#include <memory>
#include <semaphore>

namespace nimbara {

/// How many held pipelines may be on their way to their first picture at the same time: one.
/// Decoders that start by the dozen keep every core busy for so long that the interface stands
/// still. One that takes longer than 5 s, on a share that has gone away, keeps the others no more.
using OpeningSlots = std::counting_semaphore<1>;

/// Whether a media pipeline plays or is held. Held, it is open, with its first or newest picture
/// ready at its end, and costs no processor time.
///
/// One thread, except for destruction. The pipeline must not be stopped before this is destroyed.
class Playback {
public:
    Playback() = default;
    Playback(const Playback &) = delete;
    Playback &operator=(const Playback &) = delete;
    Playback(Playback &&) = delete;
    Playback &operator=(Playback &&) = delete;
    ~Playback();

    /// Begins to play; waits for a refusal for at most the moment.
    PipelineStart::Outcome play(const Pipeline &pipeline, std::chrono::milliseconds moment);
    /// Opens the pipeline and holds it, as soon as a slot is free.
    void hold(const Pipeline &pipeline, std::shared_ptr<OpeningSlots> slots);

    /// What is wanted from now on. A pipeline that is to play need not wait for a slot.
    void setPlaying(bool playing) { m_wanted = playing ? GST_STATE_PLAYING : GST_STATE_PAUSED; }
    [[nodiscard]] bool isHeld() const { return m_wanted == GST_STATE_PAUSED; }

    /// Takes the next step towards what is wanted, and tells how the last one came out. Never
    /// waits.
    PipelineStart::Outcome poll(const Pipeline &pipeline);

    /// Lets the next pipeline open. For one that broke on its way, too.
    void freeSlot();

private:
    [[nodiscard]] bool mayChange();

    GstState m_wanted = GST_STATE_NULL;
    GstState m_asked = GST_STATE_NULL;
    std::shared_ptr<OpeningSlots> m_slots;
    bool m_hasSlot = false;
    std::chrono::steady_clock::time_point m_slotSince;
    PipelineStart m_change;
};

} // namespace nimbara
