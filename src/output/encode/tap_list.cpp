#include "output/encode/tap_list.h"

#include <gst/app/gstappsink.h>

namespace nimbara {

namespace {

/// One end of a pipeline, on its thread.
struct End {
    std::shared_ptr<TapList> taps;
    Track track;
    unsigned feed;
    std::uint64_t lead;

    static GstFlowReturn newSample(GstAppSink *sink, gpointer data)
    {
        const End &end = *static_cast<End *>(data);
        const auto sample = SampleRef::adopt(gst_app_sink_try_pull_sample(sink, 0));
        GstBuffer *buffer = sample ? gst_sample_get_buffer(sample.get()) : nullptr;
        const bool isPicture = end.track == Track::Picture;
        if (buffer == nullptr || !GST_BUFFER_PTS_IS_VALID(buffer)
            || (!isPicture && GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_HEADER))) {
            return GST_FLOW_OK; // the caps hold the headers of sound
        }
        end.taps->take(end.track,
            end.feed,
            { BufferRef::retain(buffer),
                CapsRef::retain(gst_sample_get_caps(sample.get())),
                GST_BUFFER_PTS(buffer) + (isPicture ? end.lead : 0),
                end.lead,
                !isPicture || !GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT) });
        return GST_FLOW_OK;
    }
    static void ended(GstAppSink * /*sink*/, gpointer data)
    {
        const End &end = *static_cast<End *>(data);
        end.taps->end(end.track, end.feed);
    }
};

} // namespace

void TapList::add(const std::shared_ptr<EncodedTap> &tap)
{
    const std::lock_guard lock(m_mutex);
    m_taps.push_back(tap);
}

unsigned TapList::beginFeed(Track track)
{
    const std::lock_guard lock(m_mutex);
    return ++feedOf(track);
}

template <typename Give> void TapList::give(Track track, unsigned feed, Give give)
{
    const std::lock_guard lock(m_mutex);
    if (feed != feedOf(track)) {
        return;
    }
    std::erase_if(m_taps, [](const auto &tap) { return tap.expired(); });
    for (const auto &each : m_taps) {
        if (const auto tap = each.lock()) {
            give(*tap);
        }
    }
}

void TapList::take(Track track, unsigned feed, const EncodedUnit &unit)
{
    m_pictures += track == Track::Picture ? 1 : 0;
    m_keys += track == Track::Picture && unit.isKey ? 1 : 0;
    give(track, feed, [&](EncodedTap &tap) { tap.take(track, unit); });
}

void TapList::end(Track track, unsigned feed)
{
    give(track, feed, [track](EncodedTap &tap) { tap.end(track); });
}

void feedTaps(GstElement *sink,
    Track track,
    const std::shared_ptr<TapList> &taps,
    std::uint64_t lead)
{
    GstAppSinkCallbacks callbacks {};
    callbacks.new_sample = &End::newSample;
    callbacks.eos = &End::ended;
    gst_app_sink_set_callbacks(GST_APP_SINK(sink),
        &callbacks,
        new End { taps, track, taps->beginFeed(track), lead },
        [](gpointer data) { delete static_cast<End *>(data); });
}

} // namespace nimbara
