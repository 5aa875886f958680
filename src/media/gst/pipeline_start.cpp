#include "media/gst/pipeline_start.h"

#include <system_error>

namespace nimbara {

PipelineStart::Outcome
PipelineStart::begin(const Pipeline &pipeline, GstState state, std::chrono::milliseconds moment)
{
    m_outcome = Outcome::Underway;
    try {
        m_change = std::async(std::launch::async,
            [state, held = ElementRef::retain(pipeline.element())] {
                return gst_element_set_state(held.get(), state) != GST_STATE_CHANGE_FAILURE;
            });
    } catch (const std::system_error &) { // no thread to be had
        m_outcome = Outcome::Refused;
        return m_outcome;
    }
    m_change.wait_for(moment);
    return poll();
}

PipelineStart::Outcome PipelineStart::poll()
{
    if (m_change.valid()
        && m_change.wait_for(std::chrono::seconds(0)) == std::future_status::ready) {
        m_outcome = m_change.get() ? Outcome::Accepted : Outcome::Refused;
    }
    return m_outcome;
}

} // namespace nimbara
