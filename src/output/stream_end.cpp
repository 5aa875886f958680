#include "output/stream_end.h"

#include <chrono>
#include <memory>
#include <thread>

namespace nimbara {

namespace {

using namespace std::chrono_literals;

constexpr auto longestWait = 3000ms; ///< a server that takes longer has hardly heard of us
constexpr auto pollSpacing = 10ms;

struct FreeStructure {
    void operator()(GstStructure *structure) const { gst_structure_free(structure); }
};

/// The sink counts bytes once the server has let it publish.
bool isConnected(GstElement *sink)
{
    GstStructure *raw = nullptr;
    g_object_get(sink, "stats", &raw, nullptr);
    const std::unique_ptr<GstStructure, FreeStructure> stats(raw);
    guint64 sent = 0;
    return stats && gst_structure_get_uint64(stats.get(), "out-bytes-total", &sent) != FALSE
        && sent > 0;
}

/// The sink could not connect. Errors of others only tell that it takes no more data.
bool hasFailed(GstElement *sink, GstBus *bus)
{
    const auto message = MessageRef::adopt(gst_bus_pop_filtered(bus, GST_MESSAGE_ERROR));
    return message && GST_MESSAGE_SRC(message.get()) == GST_OBJECT_CAST(sink);
}

} // namespace

void endStream(GstElement *sink, GstBus *bus)
{
    const auto input = GstRef<GstPad>::adopt(gst_element_get_static_pad(sink, "sink"));
    gst_pad_send_event(input.get(), gst_event_new_flush_start());
    const auto deadline = std::chrono::steady_clock::now() + longestWait;
    while (!isConnected(sink) && !hasFailed(sink, bus)
        && std::chrono::steady_clock::now() < deadline) {
        std::this_thread::sleep_for(pollSpacing);
    }
}

} // namespace nimbara
