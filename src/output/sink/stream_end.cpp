#include "output/sink/stream_end.h"

#include <chrono>
#include <thread>

namespace nimbara {

namespace {

using namespace std::chrono_literals;
using Flag = std::shared_ptr<std::atomic<bool>>;

/// By then the sink has given a silent server up by itself (after 5 s). One that is stopped in the
/// middle of a secure handshake keeps its socket: the handshake ends on a thread that nobody waits
/// for.
constexpr auto longestWait = 6000ms;
constexpr auto pollSpacing = 10ms;

/// Headers alone do not make the sink connect.
GstPadProbeReturn noteData(GstPad * /*pad*/, GstPadProbeInfo *info, gpointer userData)
{
    if (GST_BUFFER_FLAG_IS_SET(GST_PAD_PROBE_INFO_BUFFER(info), GST_BUFFER_FLAG_HEADER)) {
        return GST_PAD_PROBE_OK;
    }
    (*static_cast<Flag *>(userData))->store(true);
    return GST_PAD_PROBE_REMOVE;
}

PadRef inputOf(GstElement *sink)
{
    return PadRef::adopt(gst_element_get_static_pad(sink, "sink"));
}

/// The sink counts bytes once the server has let it publish.
bool hasPublished(GstElement *sink)
{
    GstStructure *raw = nullptr;
    g_object_get(sink, "stats", &raw, nullptr);
    const StructurePtr stats(raw);
    guint64 sent = 0;
    return stats && gst_structure_get_uint64(stats.get(), "out-bytes-total", &sent) != FALSE
        && sent > 0;
}

/// The sink could not connect. Errors of others only tell that it takes no more data.
bool isFailureOf(GstElement *sink, GstMessage *error)
{
    return error != nullptr && GST_MESSAGE_SRC(error) == GST_OBJECT_CAST(sink);
}

bool hasFailed(GstElement *sink, GstBus *bus)
{
    const auto message = MessageRef::adopt(gst_bus_pop_filtered(bus, GST_MESSAGE_ERROR));
    return isFailureOf(sink, message.get());
}

} // namespace

StreamEnd::StreamEnd(GstElement *sink)
    : m_sink(ElementRef::retain(sink))
{
    auto connects = std::make_shared<std::atomic<bool>>(false);
    m_connects = connects;
    gst_pad_add_probe(inputOf(sink).get(),
        GST_PAD_PROBE_TYPE_BUFFER,
        noteData,
        new Flag(std::move(connects)),
        [](gpointer flag) { delete static_cast<Flag *>(flag); });
}

void StreamEnd::note(GstMessage *error)
{
    m_hasFailed = m_hasFailed || (m_sink && isFailureOf(m_sink.get(), error));
}

bool StreamEnd::isConnected() const
{
    return m_sink && hasPublished(m_sink.get());
}

void StreamEnd::end(GstBus *bus) const
{
    if (!m_sink || m_hasFailed) {
        return;
    }
    gst_pad_send_event(inputOf(m_sink.get()).get(), gst_event_new_flush_start());
    const auto deadline = std::chrono::steady_clock::now() + longestWait;
    while (m_connects->load() && !hasPublished(m_sink.get()) && !hasFailed(m_sink.get(), bus)
        && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(pollSpacing);
    }
}

} // namespace nimbara
