#include "media/sources/playback.h"

namespace nimbara {

namespace {

constexpr auto slotPatience = std::chrono::seconds(5);

bool isChanging(const Pipeline &pipeline)
{
    return gst_element_get_state(pipeline.element(), nullptr, nullptr, 0) == GST_STATE_CHANGE_ASYNC;
}

} // namespace

Playback::~Playback()
{
    freeSlot();
}

PipelineStart::Outcome Playback::play(const Pipeline &pipeline, std::chrono::milliseconds moment)
{
    m_wanted = m_asked = GST_STATE_PLAYING;
    return m_change.begin(pipeline, m_asked, moment);
}

void Playback::hold(const Pipeline &pipeline, std::shared_ptr<OpeningSlots> slots)
{
    m_slots = std::move(slots);
    m_wanted = GST_STATE_PAUSED;
    poll(pipeline);
}

PipelineStart::Outcome Playback::poll(const Pipeline &pipeline)
{
    const PipelineStart::Outcome outcome = m_change.poll();
    if (m_hasSlot && outcome != PipelineStart::Outcome::Underway
        && (outcome == PipelineStart::Outcome::Refused || !isChanging(pipeline))) {
        freeSlot();
    }
    if (m_hasSlot && std::chrono::steady_clock::now() - m_slotSince > slotPatience) {
        freeSlot();
    }
    if (m_wanted == m_asked || outcome != PipelineStart::Outcome::Accepted) {
        return outcome;
    }
    if (!mayChange()) {
        return PipelineStart::Outcome::Underway;
    }
    m_asked = m_wanted;
    return m_change.begin(pipeline, m_asked, {});
}

bool Playback::mayChange()
{
    if (m_asked == GST_STATE_NULL && m_wanted == GST_STATE_PAUSED) {
        m_hasSlot = m_slots->try_acquire();
        m_slotSince = std::chrono::steady_clock::now();
        return m_hasSlot;
    }
    return true;
}

void Playback::freeSlot()
{
    if (m_hasSlot) {
        m_slots->release();
        m_hasSlot = false;
    }
}

} // namespace nimbara
