#include "output/encode/warm_up.h"

#include "media/gst/gst_handles.h"

#include <gst/app/gstappsrc.h>
#include <gst/video/video.h>

namespace nimbara {

namespace {

using Flag = std::shared_ptr<std::atomic<bool>>;

/// The first picture stays here and the next one will not build upon it; all others pass.
GstPadProbeReturn keepFirst(GstPad *pad, GstPadProbeInfo * /*info*/, gpointer userData)
{
    const Flag &ready = *static_cast<Flag *>(userData);
    if (*ready) {
        return GST_PAD_PROBE_REMOVE;
    }
    if (gst_pad_get_direction(pad) == GST_PAD_SRC) {
        gst_pad_send_event(pad,
            gst_video_event_new_upstream_force_key_unit(GST_CLOCK_TIME_NONE, FALSE, 0));
    }
    *ready = true;
    return GST_PAD_PROBE_DROP;
}

BufferRef blackPicture(GstAppSrc *source)
{
    const auto caps = CapsRef::adopt(gst_app_src_get_caps(source));
    GstVideoInfo info;
    gst_video_info_from_caps(&info, caps.get());
    auto picture = BufferRef::adopt(gst_buffer_new_allocate(nullptr, info.size, nullptr));
    gst_buffer_memset(picture.get(), 0, 0, info.size);
    GST_BUFFER_PTS(picture.get()) = 0;
    return picture;
}

} // namespace

std::shared_ptr<const std::atomic<bool>>
warmUp(GstElement *source, GstElement *encoder, bool delaysPictures)
{
    auto ready = std::make_shared<std::atomic<bool>>(false);
    const auto pad
        = PadRef::adopt(gst_element_get_static_pad(encoder, delaysPictures ? "sink" : "src"));
    gst_pad_add_probe(pad.get(),
        GST_PAD_PROBE_TYPE_BUFFER,
        keepFirst,
        new Flag(ready),
        [](gpointer flag) { delete static_cast<Flag *>(flag); });
    gst_app_src_push_buffer(GST_APP_SRC(source), blackPicture(GST_APP_SRC(source)).release());
    return ready;
}

} // namespace nimbara
