#include "output/sink/remux.h"

#include "base/error.h"
#include "media/gst/gst_handles.h"
#include "output/encode/failure_text.h"
#include "output/encode/pipeline_parts.h"
#include "output/encode/task_threads.h"

namespace nimbara {

namespace {

constexpr GstClockTime patience = 30 * GST_SECOND; // between two signs of life

/// Each track of the demultiplexer goes to a pad of the muxer through a queue of its own.
void connectTrack(GstElement * /*demuxer*/, GstPad *track, gpointer muxer)
{
    auto *to = static_cast<GstElement *>(muxer);
    const auto bin = ElementRef::adopt(GST_ELEMENT(gst_element_get_parent(to)));
    GstElement *queue = gst_element_factory_make("queue", nullptr);
    // Room for one track's gap, in which the muxer waits for the other one.
    g_object_set(queue,
        "max-size-buffers",
        0U,
        "max-size-time",
        guint64 { 0 },
        "max-size-bytes",
        64U << 20U,
        nullptr);
    gst_bin_add(GST_BIN(bin.get()), queue);
    const auto caps = CapsRef::adopt(gst_pad_query_caps(track, nullptr));
    const bool isSound
        = g_str_has_prefix(gst_structure_get_name(gst_caps_get_structure(caps.get(), 0)), "audio/");
    if (gst_element_link_pads(queue, "src", to, isSound ? "audio_%u" : "video_%u") == FALSE
        || gst_pad_link(track, padOf(queue, "sink").get()) != GST_PAD_LINK_OK) {
        GST_ELEMENT_ERROR(to, STREAM, WRONG_TYPE, (nullptr), ("a track cannot be linked"));
    }
    gst_element_sync_state_with_parent(queue);
}

GstElement *fileElement(const PipelineParts &parts, const char *factory, const QString &path)
{
    GstElement *file = parts.make(factory);
    g_object_set(file, "location", path.toUtf8().constData(), nullptr);
    return file;
}

/// Waits for the end, as long as the position moves.
void runToEnd(const Pipeline &pipeline)
{
    gint64 last = -1;
    for (;;) {
        const auto message = MessageRef::adopt(gst_bus_timed_pop_filtered(pipeline.bus(),
            patience,
            static_cast<GstMessageType>(GST_MESSAGE_ERROR | GST_MESSAGE_EOS)));
        if (message && GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_EOS) {
            return;
        }
        gint64 position = -1;
        gst_element_query_position(pipeline.element(), GST_FORMAT_BYTES, &position);
        if (message || position == last) {
            throw Error(
                message ? failureText(message.get()) : failureText(GST_RESOURCE_ERROR_READ));
        }
        last = position;
    }
}

} // namespace

void remux(const QString &source, const QString &target)
{
    const bool isMatroska = source.endsWith(QLatin1String(".mkv"), Qt::CaseInsensitive);
    PipelineParts parts("nimbara-remux");
    GstElement *demuxer = parts.make("matroskademux");
    GstElement *muxer = parts.make(isMatroska ? "matroskamux" : "webmmux");
    PipelineParts::link({ fileElement(parts, "filesrc", source), demuxer });
    PipelineParts::link({ muxer, fileElement(parts, "filesink", target) });
    g_signal_connect(demuxer, "pad-added", G_CALLBACK(connectTrack), muxer);
    const Pipeline pipeline = parts.take();
    setThreadTurn(pipeline.bus(), ThreadTurn::AfterOthers);
    if (!pipeline.play()) {
        throw Error(failureText(GST_RESOURCE_ERROR_OPEN_READ));
    }
    runToEnd(pipeline);
}

} // namespace nimbara
