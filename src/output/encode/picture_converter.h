#pragma once

#include "media/gst/gst_handles.h"
#include "signal/frame.h"

#include <gst/video/video.h>

#include <deque>
#include <memory>
#include <mutex>

namespace nimbara {

/// Turns the program's pictures into what encoders read: once for all encoders that read the same
/// format, and once for a picture that stands still. Thread-safe; the encoders' threads call it.
class PictureConverter {
public:
    /// The frame's picture in `format`, in the standard layout and colours of its size
    /// (`gst_video_info_set_format`). The memory is shared with the other callers: never written
    /// to; empty when there is none to be had. Whoever asks while the same frame is being converted
    /// waits for it, some milliseconds.
    BufferRef convert(const FramePtr &frame, GstVideoFormat format);

private:
    struct Converted {
        std::weak_ptr<const Frame> frame;
        GstVideoFormat format = GST_VIDEO_FORMAT_UNKNOWN;
        BufferRef picture;
    };
    struct Free {
        void operator()(GstVideoConverter *converter) const { gst_video_converter_free(converter); }
    };
    bool convertOther(const Frame &frame, GstVideoFrame &to);

    std::mutex m_mutex;
    std::deque<Converted> m_made; ///< of frames that somebody still holds
    GstVideoInfo m_to {};
    std::unique_ptr<GstVideoConverter, Free> m_converter; ///< to that, for what is not I420
};

/// A buffer that stands for the frame until an encoder's thread comes to it.
BufferRef frameBuffer(const FramePtr &frame);

/// From now on what `frameBuffer` made leaves `source`, an appsrc of raw video in `format`, as the
/// picture itself. Everything else passes.
void convertFrames(GstElement *source,
    GstVideoFormat format,
    const std::shared_ptr<PictureConverter> &converter);

} // namespace nimbara
