#include "media/sources/frame_maker.h"

#include "media/gst/gst_maps.h"
#include "media/sources/frame_pool.h"
#include "media/sources/rgba_conversion.h"

#include <optional>
#include <utility>

namespace nimbara {

namespace {

/// What an element holds beyond GStreamer's own part; on the streaming thread.
struct FrameWork {
    std::shared_ptr<NaturalPicture> picture;
    std::shared_ptr<FramePool> pool = std::make_shared<FramePool>();
    CapsRef caps; ///< of the pictures that come
    std::optional<GstVideoInfo> known; ///< of those that can be made frames
    unsigned followed = 0; ///< the change of the boxes that `makes` was found for
    bool makes = false; ///< frames; told downstream
};

bool needsNoScaling(const FrameWork &work)
{
    if (!work.known) {
        return false;
    }
    const GstVideoInfo &info = *work.known;
    const FrameSize stored { info.width, info.height };
    return info.par_n == info.par_d && work.picture->shownSize(stored) == stored;
}

void readCaps(FrameWork &work, GstCaps *caps)
{
    GstVideoInfo info;
    work.caps = CapsRef::retain(caps);
    const bool isPlain = gst_caps_features_is_equal(gst_caps_get_features(caps, 0),
                             GST_CAPS_FEATURES_MEMORY_SYSTEM_MEMORY)
        != FALSE; // else a decoder's own memory, which is not to be read here
    const bool isKnown
        = isPlain && gst_video_info_from_caps(&info, caps) != FALSE && convertsToRgba(info);
    work.known = isKnown ? std::optional(info) : std::nullopt;
}

/// Whether frames are made from now on; true when that is another answer than before.
bool follow(FrameWork &work)
{
    work.followed = work.picture->changes();
    const bool before = std::exchange(work.makes, needsNoScaling(work));
    return before != work.makes;
}

/// The format of what is handed on.
GstEvent *capsEvent(const FrameWork &work)
{
    if (!work.makes) {
        return gst_event_new_caps(work.caps.get());
    }
    const auto caps = CapsRef::adopt(gst_caps_copy(work.caps.get()));
    GstStructure *format = gst_caps_get_structure(caps.get(), 0);
    gst_structure_set(format, "format", G_TYPE_STRING, "RGBA", nullptr);
    gst_structure_remove_fields(format, "colorimetry", "chroma-site", nullptr);
    return gst_event_new_caps(caps.get());
}

GQuark frameQuark()
{
    static const GQuark quark = g_quark_from_static_string("nimbara-frame");
    return quark;
}

void dropFrame(gpointer frame)
{
    delete static_cast<FramePtr *>(frame);
}

/// The memory of the frame, which lives as long as the memory does.
GstMemory *memoryOf(FramePtr frame)
{
    const gsize bytes = frame->pixels.size();
    auto *data = const_cast<std::uint8_t *>(frame->pixels.data()); // NOLINT: told to be read only
    GstMemory *memory = gst_memory_new_wrapped(GST_MEMORY_FLAG_READONLY,
        data,
        bytes,
        0,
        bytes,
        new FramePtr(frame),
        dropFrame);
    gst_mini_object_set_qdata(GST_MINI_OBJECT_CAST(memory),
        frameQuark(),
        new FramePtr(std::move(frame)),
        dropFrame);
    return memory;
}

/// None for a picture that cannot be read.
BufferRef frameOf(const FrameWork &work, GstBuffer *from)
{
    GstVideoFrame picture;
    if (gst_video_frame_map(&picture, &*work.known, from, GST_MAP_READ) == FALSE) {
        return {};
    }
    const std::shared_ptr<Frame> frame = work.pool->take({ work.known->width, work.known->height });
    convertToRgba(picture, *frame);
    gst_video_frame_unmap(&picture);
    auto buffer = BufferRef::adopt(gst_buffer_new());
    gst_buffer_append_memory(buffer.get(), memoryOf(frame));
    gst_buffer_copy_into(buffer.get(),
        from,
        static_cast<GstBufferCopyFlags>(GST_BUFFER_COPY_FLAGS | GST_BUFFER_COPY_TIMESTAMPS),
        0,
        G_MAXSIZE);
    return buffer;
}

struct FrameMaker {
    GstElement parent;
    GstPad *sink;
    GstPad *src;
    FrameWork *work;
};

struct FrameMakerClass {
    GstElementClass parent;
};

G_DEFINE_TYPE(FrameMaker, frame_maker, GST_TYPE_ELEMENT)

FrameMaker &makerOf(GstObject *parent)
{
    return *reinterpret_cast<FrameMaker *>(parent); // NOLINT: GObject's inheritance
}

gboolean takeEvent(GstPad *pad, GstObject *parent, GstEvent *event)
{
    FrameMaker &maker = makerOf(parent);
    if (GST_EVENT_TYPE(event) != GST_EVENT_CAPS) {
        return gst_pad_event_default(pad, parent, event);
    }
    GstCaps *caps = nullptr;
    gst_event_parse_caps(event, &caps);
    readCaps(*maker.work, caps);
    gst_event_unref(event);
    follow(*maker.work);
    return gst_pad_push_event(maker.src, capsEvent(*maker.work));
}

/// Rows may be padded; memory is the one's own who sends.
gboolean answerQuery(GstPad *pad, GstObject *parent, GstQuery *query)
{
    if (GST_QUERY_TYPE(query) != GST_QUERY_ALLOCATION) {
        return gst_pad_query_default(pad, parent, query);
    }
    gst_query_add_allocation_meta(query, GST_VIDEO_META_API_TYPE, nullptr);
    return TRUE;
}

GstFlowReturn takePicture(GstPad * /*pad*/, GstObject *parent, GstBuffer *owned)
{
    FrameMaker &maker = makerOf(parent);
    FrameWork &work = *maker.work;
    auto buffer = BufferRef::adopt(owned);
    if (work.followed != work.picture->changes() && follow(work)) {
        gst_pad_push_event(maker.src, capsEvent(work));
    }
    if (work.makes) {
        buffer = frameOf(work, buffer.get());
    }
    return buffer ? gst_pad_push(maker.src, buffer.release()) : GST_FLOW_OK;
}

void finalize(GObject *object)
{
    delete reinterpret_cast<FrameMaker *>(object)->work; // NOLINT: GObject's inheritance
    G_OBJECT_CLASS(frame_maker_parent_class)->finalize(object);
}

GstStaticPadTemplate sinkTemplate = GST_STATIC_PAD_TEMPLATE("sink",
    GST_PAD_SINK,
    GST_PAD_ALWAYS,
    GST_STATIC_CAPS("video/x-raw; video/x-raw(ANY)"));
GstStaticPadTemplate srcTemplate = GST_STATIC_PAD_TEMPLATE("src",
    GST_PAD_SRC,
    GST_PAD_ALWAYS,
    GST_STATIC_CAPS("video/x-raw; video/x-raw(ANY)"));

void frame_maker_init(FrameMaker *maker)
{
    maker->work = new FrameWork;
    maker->sink = gst_pad_new_from_static_template(&sinkTemplate, "sink");
    gst_pad_set_event_function(maker->sink, takeEvent);
    gst_pad_set_query_function(maker->sink, answerQuery);
    gst_pad_set_chain_function(maker->sink, takePicture);
    GST_PAD_SET_PROXY_CAPS(maker->sink);
    gst_element_add_pad(&maker->parent, maker->sink);
    maker->src = gst_pad_new_from_static_template(&srcTemplate, "src");
    gst_element_add_pad(&maker->parent, maker->src);
}

void frame_maker_class_init(FrameMakerClass *type)
{
    auto *element = reinterpret_cast<GstElementClass *>(type); // NOLINT: GObject's inheritance
    gst_element_class_add_static_pad_template(element, &sinkTemplate);
    gst_element_class_add_static_pad_template(element, &srcTemplate);
    gst_element_class_set_static_metadata(element,
        "Frame maker",
        "Filter/Converter/Video",
        "Makes pictures that need no scaling whole frames",
        "Nimbara");
    reinterpret_cast<GObjectClass *>(type)->finalize = finalize; // NOLINT
}

} // namespace

ElementRef makeFrameMaker(const std::shared_ptr<NaturalPicture> &picture)
{
    static constexpr const char *factory = "nimbaraframemaker";
    static const bool isRegistered
        = gst_element_register(nullptr, factory, GST_RANK_NONE, frame_maker_get_type()) != FALSE;
    auto element = isRegistered ? ElementRef::sink(gst_element_factory_make(factory, nullptr))
                                : ElementRef();
    if (element) {
        reinterpret_cast<FrameMaker *>(element.get())->work->picture = picture; // NOLINT
    }
    return element;
}

FramePtr frameIn(GstBuffer *buffer)
{
    if (buffer == nullptr || gst_buffer_n_memory(buffer) != 1) {
        return nullptr;
    }
    const auto *frame = static_cast<const FramePtr *>(
        gst_mini_object_get_qdata(GST_MINI_OBJECT_CAST(gst_buffer_peek_memory(buffer, 0)),
            frameQuark()));
    return frame != nullptr ? *frame : nullptr;
}

} // namespace nimbara
