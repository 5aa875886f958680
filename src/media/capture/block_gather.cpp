#include "media/capture/block_gather.h"

#include "media/gst/gst_maps.h"

namespace nimbara {

namespace {

constexpr std::size_t frameBytes = sizeof(float) * audioChannels;

GstClockTime durationOf(std::size_t bytes)
{
    return gst_util_uint64_scale(bytes / frameBytes, GST_SECOND, audioRate);
}

} // namespace

std::shared_ptr<BlockGather> BlockGather::atInputOf(const ElementRef &sink, int most)
{
    using Held = std::shared_ptr<BlockGather>;
    Held gather(new BlockGather(most));
    const auto pad = PadRef::adopt(gst_element_get_static_pad(sink.get(), "sink"));
    gst_pad_add_probe(pad.get(),
        GST_PAD_PROBE_TYPE_BUFFER,
        meet,
        new Held(gather),
        [](gpointer held) { delete static_cast<Held *>(held); });
    return gather;
}

GstPadProbeReturn BlockGather::meet(GstPad * /*pad*/, GstPadProbeInfo *info, gpointer held)
{
    BlockGather &self = **static_cast<std::shared_ptr<BlockGather> *>(held);
    GstBuffer *arrived = GST_PAD_PROBE_INFO_BUFFER(info);
    const bool isKept = self.keep(arrived);
    if (isKept && self.m_waiting >= self.m_most) {
        return GST_PAD_PROBE_DROP;
    }
    ++self.m_waiting;
    if (isKept) { // else the reader finds what is wrong with it
        GST_PAD_PROBE_INFO_DATA(info) = self.takeKept().release();
        gst_buffer_unref(arrived);
    }
    return GST_PAD_PROBE_OK;
}

bool BlockGather::keep(GstBuffer *buffer)
{
    const BufferMap map(buffer);
    if (!map) {
        return false;
    }
    if (m_kept.empty()) {
        m_keptPts = GST_BUFFER_PTS(buffer);
    }
    m_kept.insert(m_kept.end(), map.data(), map.data() + map.size());
    if (m_kept.size() > longest) {
        const std::size_t lost = m_kept.size() - longest;
        m_kept.erase(m_kept.begin(), m_kept.begin() + static_cast<std::ptrdiff_t>(lost));
        m_keptPts += GST_CLOCK_TIME_IS_VALID(m_keptPts) ? durationOf(lost) : 0;
    }
    return true;
}

BufferRef BlockGather::takeKept()
{
    auto buffer = BufferRef::adopt(gst_buffer_new_allocate(nullptr, m_kept.size(), nullptr));
    gst_buffer_fill(buffer.get(), 0, m_kept.data(), m_kept.size());
    GST_BUFFER_PTS(buffer.get()) = m_keptPts;
    GST_BUFFER_DURATION(buffer.get()) = durationOf(m_kept.size());
    m_kept.clear();
    return buffer;
}

} // namespace nimbara
