#include "output/encode/picture_converter.h"

#include "output/encode/i420.h"
#include "output/encode/pipeline_parts.h"

namespace nimbara {

namespace {

GQuark frameQuark()
{
    static const GQuark quark = g_quark_from_static_string("nimbara-frame");
    return quark;
}

GstVideoInfo pictureInfo(FrameSize size, GstVideoFormat format)
{
    GstVideoInfo info;
    gst_video_info_set_format(&info,
        format,
        static_cast<guint>(size.width),
        static_cast<guint>(size.height));
    return info;
}

/// A buffer that reads the frame's own pixels; the frame must outlive it.
BufferRef pixelsOf(const Frame &frame)
{
    const gsize size = frame.pixels.size();
    return BufferRef::adopt(gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY,
        const_cast<std::uint8_t *>(frame.pixels.data()), // NOLINT: the memory is read-only
        size,
        0,
        size,
        nullptr,
        nullptr));
}

struct Conversion {
    GstVideoFormat format;
    std::shared_ptr<PictureConverter> converter;
};

GstPadProbeReturn convertOne(GstPad * /*pad*/, GstPadProbeInfo *info, gpointer data)
{
    const auto &conversion = *static_cast<Conversion *>(data);
    GstBuffer *given = GST_PAD_PROBE_INFO_BUFFER(info);
    const auto *frame = static_cast<const FramePtr *>(
        gst_mini_object_get_qdata(GST_MINI_OBJECT_CAST(given), frameQuark()));
    if (frame != nullptr) {
        const BufferRef shared = conversion.converter->convert(*frame, conversion.format);
        if (!shared) {
            return GST_PAD_PROBE_DROP;
        }
        GstBuffer *picture = gst_buffer_copy(shared.get());
        gst_buffer_copy_into(picture,
            given,
            static_cast<GstBufferCopyFlags>(GST_BUFFER_COPY_FLAGS | GST_BUFFER_COPY_TIMESTAMPS),
            0,
            0);
        gst_buffer_unref(given);
        info->data = picture;
    }
    return GST_PAD_PROBE_OK;
}

} // namespace

BufferRef PictureConverter::convert(const FramePtr &frame, GstVideoFormat format)
{
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_made, [](const Converted &each) { return each.frame.expired(); });
    for (const Converted &each : m_made) {
        if (each.format == format && each.frame.lock() == frame) {
            return each.picture;
        }
    }
    const GstVideoInfo to = pictureInfo(frame->size(), format);
    auto picture = BufferRef::adopt(gst_buffer_new_allocate(nullptr, to.size, nullptr));
    GstVideoFrame mapped;
    if (!picture || gst_video_frame_map(&mapped, &to, picture.get(), GST_MAP_WRITE) == FALSE) {
        return {};
    }
    bool isDone = true;
    if (format == GST_VIDEO_FORMAT_I420) {
        convertToI420(*frame, mapped);
    } else {
        isDone = convertOther(*frame, mapped);
    }
    gst_video_frame_unmap(&mapped);
    if (!isDone) {
        return {};
    }
    m_made.push_back({ frame, format, picture });
    return picture;
}

bool PictureConverter::convertOther(const Frame &frame, GstVideoFrame &to)
{
    const GstVideoInfo from = pictureInfo(frame.size(), GST_VIDEO_FORMAT_RGBA);
    if (!m_converter || gst_video_info_is_equal(&to.info, &m_to) == FALSE) {
        m_to = to.info;
        m_converter.reset(gst_video_converter_new(&from, &m_to, nullptr));
    }
    const BufferRef pixels = pixelsOf(frame);
    GstVideoFrame mapped;
    if (gst_video_frame_map(&mapped, &from, pixels.get(), GST_MAP_READ) == FALSE) {
        return false;
    }
    gst_video_converter_frame(m_converter.get(), &mapped, &to);
    gst_video_frame_unmap(&mapped);
    return true;
}

BufferRef frameBuffer(const FramePtr &frame)
{
    auto buffer = BufferRef::adopt(gst_buffer_new());
    gst_mini_object_set_qdata(GST_MINI_OBJECT_CAST(buffer.get()),
        frameQuark(),
        new FramePtr(frame),
        [](gpointer held) { delete static_cast<FramePtr *>(held); });
    return buffer;
}

void convertFrames(GstElement *source,
    GstVideoFormat format,
    const std::shared_ptr<PictureConverter> &converter)
{
    gst_pad_add_probe(padOf(source, "src").get(),
        GST_PAD_PROBE_TYPE_BUFFER,
        convertOne,
        new Conversion { format, converter },
        [](gpointer data) { delete static_cast<Conversion *>(data); });
}

} // namespace nimbara
