#include "output/sink/stall_watch.h"

#include <algorithm>

namespace nimbara {

StallWatch::StallWatch(GstElement *sink)
{
    auto taken = std::make_shared<Count>(0);
    m_taken = taken;
    using Shared = std::shared_ptr<Count>;
    gst_pad_add_probe(
        PadRef::adopt(gst_element_get_static_pad(sink, "sink")).get(),
        GST_PAD_PROBE_TYPE_BUFFER,
        [](GstPad *, GstPadProbeInfo *, gpointer count) {
            (*static_cast<Shared *>(count))->fetch_add(1);
            return GST_PAD_PROBE_OK;
        },
        new Shared(std::move(taken)),
        [](gpointer count) { delete static_cast<Shared *>(count); });
}

bool StallWatch::stalled(std::uint64_t tNs)
{
    if (!m_taken) {
        return false;
    }
    const std::uint64_t step = std::min(tNs - std::min(m_last, tNs), longestTick);
    m_last = tNs;
    const std::uint64_t taken = m_taken->load();
    m_waited = taken == m_seen ? m_waited + step : 0;
    m_seen = taken;
    return m_waited > patience;
}

} // namespace nimbara
