#include "media/x11/x11_screen_source.h"

#include "media/x11/x11_screen.h"

#include <gst/base/gstpushsrc.h>
#include <gst/video/video.h>

#include <memory>
#include <mutex>
#include <optional>

namespace {

using nimbara::FrameSize;
using nimbara::X11Screen;

constexpr int usualRate = 30;

/// What an element holds beyond GStreamer's own part.
struct Capture {
    std::unique_ptr<X11Screen> screen; ///< from start to stop; streaming thread
    int rateNumerator = usualRate;
    int rateDenominator = 1;
    std::mutex mutex; ///< of what follows
    std::optional<FrameSize> size; ///< of the screen, while there is one
    GstClockID pause = nullptr; ///< what the streaming thread waits for
    bool flushing = false;
};

struct X11ScreenSrc {
    GstPushSrc parent;
    Capture *capture;
};

struct X11ScreenSrcClass {
    GstPushSrcClass parent;
};

G_DEFINE_TYPE(X11ScreenSrc, x11_screen_src, GST_TYPE_PUSH_SRC)

Capture &captureOf(gpointer source)
{
    return *static_cast<X11ScreenSrc *>(source)->capture;
}

void keepSize(Capture &capture, std::optional<FrameSize> size)
{
    const std::lock_guard lock(capture.mutex);
    capture.size = size;
}

gboolean start(GstBaseSrc *source)
{
    Capture &capture = captureOf(source);
    capture.screen = X11Screen::open();
    if (!capture.screen) {
        GST_ELEMENT_ERROR(source,
            RESOURCE,
            OPEN_READ,
            ("The X11 screen cannot be opened"),
            (nullptr));
        return FALSE;
    }
    keepSize(capture, capture.screen->size());
    return TRUE;
}

gboolean stop(GstBaseSrc *source)
{
    keepSize(captureOf(source), std::nullopt);
    captureOf(source).screen.reset();
    return TRUE;
}

/// Before the start any size is possible: nobody has asked the server yet.
GstCaps *getCaps(GstBaseSrc *source, GstCaps *filter)
{
    GstCaps *caps = gst_pad_get_pad_template_caps(GST_BASE_SRC_PAD(source));
    std::optional<FrameSize> size;
    {
        Capture &capture = captureOf(source);
        const std::lock_guard lock(capture.mutex);
        size = capture.size;
    }
    if (size) {
        caps = gst_caps_make_writable(caps);
        gst_caps_set_simple(caps,
            "width",
            G_TYPE_INT,
            size->width,
            "height",
            G_TYPE_INT,
            size->height,
            nullptr);
    }
    if (filter != nullptr) {
        GstCaps *fitting = gst_caps_intersect_full(filter, caps, GST_CAPS_INTERSECT_FIRST);
        gst_caps_unref(caps);
        caps = fitting;
    }
    return caps;
}

GstCaps *fixate(GstBaseSrc *source, GstCaps *caps)
{
    caps = gst_caps_make_writable(gst_caps_truncate(caps));
    gst_structure_fixate_field_nearest_fraction(gst_caps_get_structure(caps, 0),
        "framerate",
        usualRate,
        1);
    return GST_BASE_SRC_CLASS(x11_screen_src_parent_class)->fixate(source, caps);
}

gboolean setCaps(GstBaseSrc *source, GstCaps *caps)
{
    Capture &capture = captureOf(source);
    return gst_structure_get_fraction(gst_caps_get_structure(caps, 0),
        "framerate",
        &capture.rateNumerator,
        &capture.rateDenominator);
}

gboolean unlock(GstBaseSrc *source)
{
    Capture &capture = captureOf(source);
    const std::lock_guard lock(capture.mutex);
    capture.flushing = true;
    if (capture.pause != nullptr) {
        gst_clock_id_unschedule(capture.pause);
    }
    return TRUE;
}

gboolean unlockStop(GstBaseSrc *source)
{
    const std::lock_guard lock(captureOf(source).mutex);
    captureOf(source).flushing = false;
    return TRUE;
}

bool isFlushing(Capture &capture)
{
    const std::lock_guard lock(capture.mutex);
    return capture.flushing;
}

/// Waits until the clock reaches that time; false when the element is told to let go.
bool waitFor(Capture &capture, GstClock *clock, GstClockTime time)
{
    GstClockID pause = nullptr;
    {
        const std::lock_guard lock(capture.mutex);
        if (capture.flushing) {
            return false;
        }
        pause = gst_clock_new_single_shot_id(clock, time);
        capture.pause = pause;
    }
    const GstClockReturn outcome = gst_clock_id_wait(pause, nullptr);
    const std::lock_guard lock(capture.mutex);
    capture.pause = nullptr;
    gst_clock_id_unref(pause);
    return outcome != GST_CLOCK_UNSCHEDULED && !capture.flushing;
}

/// The running time of the next picture, which has come when this returns; none when flushing.
GstClockTime nextSlot(GstElement *element, Capture &capture, GstClockTime duration)
{
    GstClock *clock = gst_element_get_clock(element);
    if (clock == nullptr) {
        return GST_CLOCK_TIME_NONE;
    }
    const GstClockTime base = gst_element_get_base_time(element);
    const GstClockTime now = gst_clock_get_time(clock);
    const GstClockTime slot = ((now > base ? now - base : 0) / duration + 1) * duration;
    const bool reached = waitFor(capture, clock, base + slot);
    gst_object_unref(clock);
    return reached ? slot : GST_CLOCK_TIME_NONE;
}

/// A buffer with the picture; nullptr when the server is lost or nobody takes the picture.
GstBuffer *takePicture(GstBaseSrc *source, Capture &capture)
{
    X11Screen &screen = *capture.screen;
    for (;;) {
        const FrameSize size = screen.size();
        const auto bytes = static_cast<gsize>(size.width) * static_cast<gsize>(size.height) * 4;
        GstBuffer *buffer = gst_buffer_new_allocate(nullptr, bytes, nullptr);
        GstMapInfo map;
        auto outcome = X11Screen::Read::Lost;
        if (buffer != nullptr && gst_buffer_map(buffer, &map, GST_MAP_WRITE)) {
            outcome = screen.read(map.data);
            gst_buffer_unmap(buffer, &map);
        }
        if (outcome == X11Screen::Read::Picture) {
            return buffer;
        }
        gst_clear_buffer(&buffer);
        if (outcome == X11Screen::Read::Lost) {
            return nullptr;
        }
        keepSize(capture, screen.size());
        if (!gst_base_src_negotiate(source)) {
            return nullptr;
        }
    }
}

GstFlowReturn create(GstPushSrc *source, GstBuffer **made)
{
    Capture &capture = captureOf(source);
    const GstClockTime duration
        = gst_util_uint64_scale_int(GST_SECOND, capture.rateDenominator, capture.rateNumerator);
    const GstClockTime slot = nextSlot(GST_ELEMENT(source), capture, duration);
    if (!GST_CLOCK_TIME_IS_VALID(slot)) {
        return GST_FLOW_FLUSHING;
    }
    GstBuffer *buffer = takePicture(GST_BASE_SRC(source), capture);
    if (buffer == nullptr) {
        if (isFlushing(capture)) {
            return GST_FLOW_FLUSHING;
        }
        GST_ELEMENT_ERROR(source, RESOURCE, READ, ("The X11 screen cannot be read"), (nullptr));
        return GST_FLOW_ERROR;
    }
    GST_BUFFER_PTS(buffer) = slot;
    GST_BUFFER_DURATION(buffer) = duration;
    *made = buffer;
    return GST_FLOW_OK;
}

void finalize(GObject *object)
{
    auto *source = reinterpret_cast<X11ScreenSrc *>(object);
    delete source->capture;
    G_OBJECT_CLASS(x11_screen_src_parent_class)->finalize(object);
}

void x11_screen_src_init(X11ScreenSrc *source)
{
    source->capture = new Capture;
    gst_base_src_set_live(GST_BASE_SRC(source), TRUE);
    gst_base_src_set_format(GST_BASE_SRC(source), GST_FORMAT_TIME);
}

void x11_screen_src_class_init(X11ScreenSrcClass *type)
{
    static GstStaticPadTemplate pad = GST_STATIC_PAD_TEMPLATE("src",
        GST_PAD_SRC,
        GST_PAD_ALWAYS,
        GST_STATIC_CAPS("video/x-raw, format=BGRx, width=[1,MAX], height=[1,MAX], "
                        "framerate=[1/1,60/1], pixel-aspect-ratio=1/1"));
    gst_element_class_add_static_pad_template(GST_ELEMENT_CLASS(type), &pad);
    gst_element_class_set_static_metadata(GST_ELEMENT_CLASS(type),
        "X11 screen",
        "Source/Video",
        "Captures an X11 screen without holding the server",
        "Nimbara");
    G_OBJECT_CLASS(type)->finalize = finalize;
    GstBaseSrcClass *base = GST_BASE_SRC_CLASS(type);
    base->start = start;
    base->stop = stop;
    base->get_caps = getCaps;
    base->fixate = fixate;
    base->set_caps = setCaps;
    base->unlock = unlock;
    base->unlock_stop = unlockStop;
    GST_PUSH_SRC_CLASS(type)->create = create;
}

} // namespace

namespace nimbara {

void registerX11ScreenSource()
{
    static const bool done
        = gst_element_register(nullptr, x11ScreenSource, GST_RANK_NONE, x11_screen_src_get_type());
    (void)done;
}

} // namespace nimbara
