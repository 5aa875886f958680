#include "output/encode/sound_probe.h"

#include "media/gst/gst_handles.h"
#include "media/gst/gst_maps.h"
#include "output/encode/audio_timeline.h"

namespace nimbara {

namespace {

GstPadProbeReturn placeBlock(GstPad * /*pad*/, GstPadProbeInfo *info, gpointer userData)
{
    auto *timeline = static_cast<AudioTimeline *>(userData);
    const auto buffer = BufferRef::adopt(GST_PAD_PROBE_INFO_BUFFER(info));
    const BufferMap map(buffer.get());
    const std::span block(reinterpret_cast<const float *>(map.data()), map.size() / sizeof(float));
    const AudioTimeline::Piece piece = timeline->place(block, GST_BUFFER_PTS(buffer.get()));
    const std::span values = std::as_bytes(piece.values);

    auto placed = BufferRef::adopt(gst_buffer_new_allocate(nullptr, values.size(), nullptr));
    gst_buffer_fill(placed.get(), 0, values.data(), values.size());
    GST_BUFFER_PTS(placed.get()) = piece.pts;
    GST_BUFFER_DURATION(placed.get())
        = gst_util_uint64_scale(piece.values.size() / audioChannels, GST_SECOND, audioRate);
    GST_PAD_PROBE_INFO_DATA(info) = placed.release();
    return GST_PAD_PROBE_OK;
}

} // namespace

void keepSoundWhole(GstElement *source)
{
    const auto pad = PadRef::adopt(gst_element_get_static_pad(source, "src"));
    gst_pad_add_probe(pad.get(),
        GST_PAD_PROBE_TYPE_BUFFER,
        placeBlock,
        new AudioTimeline,
        [](gpointer timeline) { delete static_cast<AudioTimeline *>(timeline); });
}

} // namespace nimbara
