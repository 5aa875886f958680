#include "media/sources/picture_bound.h"

#include "media/gst/gst_build.h"

#include <algorithm>

namespace nimbara {

namespace {

struct Bound {
    ElementRef filter;
    gint longestSide;
};

/// That side of a picture when its longer side is brought down to the bound; even, as chroma planes
/// like it.
gint shortened(gint side, gint longer, gint bound)
{
    if (longer <= bound) {
        return side;
    }
    const guint64 exact = gst_util_uint64_scale_int(static_cast<guint64>(side), bound, longer);
    return std::max(2, static_cast<gint>(exact) / 2 * 2);
}

CapsRef boundCaps(const GstStructure *format, gint longestSide)
{
    auto caps = CapsRef::adopt(gst_caps_new_empty_simple("video/x-raw"));
    gint width = 0;
    gint height = 0;
    gst_structure_get_int(format, "width", &width);
    gst_structure_get_int(format, "height", &height);
    const gint longer = std::max(width, height);
    gst_caps_set_simple(caps.get(),
        "width",
        G_TYPE_INT,
        shortened(width, longer, longestSide),
        "height",
        G_TYPE_INT,
        shortened(height, longer, longestSide),
        nullptr);
    if (const GValue *shape = gst_structure_get_value(format, "pixel-aspect-ratio")) {
        gst_caps_set_value(caps.get(), "pixel-aspect-ratio", shape);
    }
    return caps;
}

GstPadProbeReturn followFormat(GstPad * /*pad*/, GstPadProbeInfo *info, gpointer userData)
{
    GstEvent *event = gst_pad_probe_info_get_event(info);
    if (GST_EVENT_TYPE(event) == GST_EVENT_CAPS) {
        const Bound &bound = *static_cast<Bound *>(userData);
        GstCaps *caps = nullptr;
        gst_event_parse_caps(event, &caps);
        gst_build::setCaps(bound.filter,
            boundCaps(gst_caps_get_structure(caps, 0), bound.longestSide));
    }
    return GST_PAD_PROBE_OK;
}

} // namespace

void boundPictures(const ElementRef &scaler, const ElementRef &filter, std::int32_t longestSide)
{
    g_object_set(scaler.get(), "add-borders", FALSE, nullptr);
    const auto pad = PadRef::adopt(gst_element_get_static_pad(scaler.get(), "sink"));
    gst_pad_add_probe(pad.get(),
        GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM,
        followFormat,
        new Bound { filter, longestSide },
        [](gpointer bound) { delete static_cast<Bound *>(bound); });
}

} // namespace nimbara
