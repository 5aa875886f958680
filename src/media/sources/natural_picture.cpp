#include "media/sources/natural_picture.h"

#include "media/gst/gst_build.h"

#include <algorithm>
#include <functional>
#include <optional>
#include <utility>

namespace nimbara {

namespace {

/// What stands in the format of a picture before it is scaled.
struct Format {
    FrameSize stored;
    gint pixelWidth = 1; ///< the shape of a pixel
    gint pixelHeight = 1;

    explicit Format(const GstCaps *caps)
    {
        const GstStructure *format = gst_caps_get_structure(caps, 0);
        gst_structure_get_int(format, "width", &stored.width);
        gst_structure_get_int(format, "height", &stored.height);
        gst_structure_get_fraction(format, "pixel-aspect-ratio", &pixelWidth, &pixelHeight);
    }
    [[nodiscard]] FrameSize natural() const
    {
        return squareSize(stored, static_cast<double>(pixelWidth) / pixelHeight);
    }
    [[nodiscard]] bool isKnown() const { return stored.width > 0 && stored.height > 0; }
};

/// The caps that a filter is to have for pictures of that format.
using FilterCaps = std::function<CapsRef(const Format &format)>;

/// On the streaming thread, except for its end.
struct Scaling {
    ElementRef filter;
    std::shared_ptr<NaturalPicture> picture;
    FilterCaps filterCaps;
    std::optional<Format> format {};
    CapsRef caps {}; ///< the filter's
    unsigned followed = 0;

    void update()
    {
        followed = picture->changes();
        if (!format || !format->isKnown()) {
            return;
        }
        CapsRef wanted = filterCaps(*format);
        if (!caps || gst_caps_is_equal(caps.get(), wanted.get()) == FALSE) {
            caps = std::move(wanted);
            gst_build::setCaps(filter, caps);
        }
    }
};

GstPadProbeReturn followPictures(GstPad * /*pad*/, GstPadProbeInfo *info, gpointer userData)
{
    Scaling &scaling = *static_cast<Scaling *>(userData);
    if ((GST_PAD_PROBE_INFO_TYPE(info) & GST_PAD_PROBE_TYPE_BUFFER) != 0) {
        if (scaling.followed != scaling.picture->changes()) {
            scaling.update();
        }
        return GST_PAD_PROBE_OK;
    }
    GstEvent *event = gst_pad_probe_info_get_event(info);
    if (GST_EVENT_TYPE(event) == GST_EVENT_CAPS) {
        GstCaps *caps = nullptr;
        gst_event_parse_caps(event, &caps);
        scaling.format = Format(caps);
        scaling.update();
    }
    return GST_PAD_PROBE_OK;
}

/// Another size at the end is no reason to ask the device for another mode.
GstPadProbeReturn keepMode(GstPad * /*pad*/, GstPadProbeInfo *info, gpointer /*userData*/)
{
    const GstEvent *event = gst_pad_probe_info_get_event(info);
    return GST_EVENT_TYPE(event) == GST_EVENT_RECONFIGURE ? GST_PAD_PROBE_DROP : GST_PAD_PROBE_OK;
}

void follow(const ElementRef &scaler,
    const ElementRef &filter,
    const std::shared_ptr<NaturalPicture> &picture,
    FilterCaps filterCaps)
{
    // The size has the picture's shape but for a part of a pixel; no border may stand for that.
    g_object_set(scaler.get(), "add-borders", FALSE, nullptr);
    const auto pad = PadRef::adopt(gst_element_get_static_pad(scaler.get(), "sink"));
    gst_pad_add_probe(pad.get(),
        static_cast<GstPadProbeType>(
            GST_PAD_PROBE_TYPE_EVENT_DOWNSTREAM | GST_PAD_PROBE_TYPE_BUFFER),
        followPictures,
        new Scaling { filter, picture, std::move(filterCaps) },
        [](gpointer scaling) { delete static_cast<Scaling *>(scaling); });
    gst_pad_add_probe(pad.get(), GST_PAD_PROBE_TYPE_EVENT_UPSTREAM, keepMode, nullptr, nullptr);
}

void setSize(GstCaps *caps, FrameSize size)
{
    gst_caps_set_simple(caps,
        "width",
        G_TYPE_INT,
        size.width,
        "height",
        G_TYPE_INT,
        size.height,
        nullptr);
}

/// That side of a picture when its longer side is brought down to the bound; even, as chroma planes
/// like it.
gint shortened(gint side, gint longer, gint bound)
{
    if (longer <= bound) {
        return side;
    }
    const guint64 exact = gst_util_uint64_scale_int(static_cast<guint64>(side), bound, longer);
    return std::max(2, static_cast<gint>(exact + 1) / 2 * 2);
}

CapsRef reducedCaps(const Format &format, const NaturalPicture &picture)
{
    // Turned or not: the longer side of the two.
    const FrameSize natural = format.natural();
    const FrameSize upright = picture.shownSize(natural);
    const FrameSize turned = picture.shownSize({ natural.height, natural.width });
    const gint bound = std::max({ upright.width, upright.height, turned.width, turned.height });
    const gint longer = std::max(format.stored.width, format.stored.height);
    auto caps = CapsRef::adopt(gst_caps_new_empty_simple("video/x-raw"));
    setSize(caps.get(),
        { shortened(format.stored.width, longer, bound),
            shortened(format.stored.height, longer, bound) });
    gst_caps_set_simple(caps.get(),
        "pixel-aspect-ratio",
        GST_TYPE_FRACTION,
        format.pixelWidth,
        format.pixelHeight,
        nullptr);
    return caps;
}

} // namespace

NaturalPicture::NaturalPicture(FrameSize frame)
    : m_boxes { { static_cast<double>(frame.width), static_cast<double>(frame.height) } }
{
}

void NaturalPicture::showIn(std::vector<PictureBox> boxes)
{
    const std::lock_guard lock(m_mutex);
    m_boxes = std::move(boxes);
    ++m_changes;
}

FrameSize NaturalPicture::shownSize(FrameSize natural) const
{
    const std::lock_guard lock(m_mutex);
    return nimbara::shownSize(natural, m_boxes);
}

FrameSize NaturalPicture::size() const
{
    const std::lock_guard lock(m_mutex);
    return m_size;
}

void NaturalPicture::setSize(FrameSize natural)
{
    const std::lock_guard lock(m_mutex);
    m_size = natural;
}

void NaturalPicture::setStored(FrameSize natural)
{
    const std::lock_guard lock(m_mutex);
    m_stored = natural;
}

FrameSize NaturalPicture::upright(FrameSize reduced) const
{
    const auto isWide = [](FrameSize size) { return size.width >= size.height; };
    const std::lock_guard lock(m_mutex);
    if (m_stored.width < 1) {
        return reduced;
    }
    return isWide(m_stored) == isWide(reduced) ? m_stored
                                               : FrameSize { m_stored.height, m_stored.width };
}

void scaleToShown(const ElementRef &scaler,
    const ElementRef &filter,
    const CapsRef &caps,
    const std::shared_ptr<NaturalPicture> &picture)
{
    gst_build::setCaps(filter, caps);
    follow(scaler, filter, picture, [caps, picture](const Format &format) {
        const FrameSize natural = picture->upright(format.natural());
        picture->setSize(natural);
        auto sized = CapsRef::adopt(gst_caps_copy(caps.get()));
        setSize(sized.get(), picture->shownSize(natural));
        return sized;
    });
}

void reduceToShown(const ElementRef &scaler,
    const ElementRef &filter,
    const std::shared_ptr<NaturalPicture> &picture)
{
    follow(scaler, filter, picture, [picture](const Format &format) {
        picture->setStored(format.natural());
        return reducedCaps(format, *picture);
    });
}

} // namespace nimbara
