#pragma once

#include <gst/video/video.h>

#include <cstddef>

namespace nimbara {

/// A buffer mapped for reading while this lives. The buffer must outlive it.
class BufferMap {
public:
    explicit BufferMap(GstBuffer *buffer)
        : m_buffer(buffer)
        , m_mapped(buffer != nullptr && gst_buffer_map(buffer, &m_info, GST_MAP_READ) != FALSE)
    {
    }
    BufferMap(const BufferMap &) = delete;
    BufferMap &operator=(const BufferMap &) = delete;
    BufferMap(BufferMap &&) = delete;
    BufferMap &operator=(BufferMap &&) = delete;
    ~BufferMap()
    {
        if (m_mapped) {
            gst_buffer_unmap(m_buffer, &m_info);
        }
    }

    explicit operator bool() const { return m_mapped; }
    [[nodiscard]] const guint8 *data() const { return m_info.data; }
    [[nodiscard]] std::size_t size() const { return m_info.size; }

private:
    GstBuffer *m_buffer;
    GstMapInfo m_info = GST_MAP_INFO_INIT;
    bool m_mapped;
};

/// A picture mapped for reading while this lives. The buffer must outlive it.
class VideoFrameMap {
public:
    VideoFrameMap(const GstVideoInfo &info, GstBuffer *buffer)
        : m_mapped(buffer != nullptr
            && gst_video_frame_map(&m_frame, &info, buffer, GST_MAP_READ) != FALSE)
    {
    }
    VideoFrameMap(const VideoFrameMap &) = delete;
    VideoFrameMap &operator=(const VideoFrameMap &) = delete;
    VideoFrameMap(VideoFrameMap &&) = delete;
    VideoFrameMap &operator=(VideoFrameMap &&) = delete;
    ~VideoFrameMap()
    {
        if (m_mapped) {
            gst_video_frame_unmap(&m_frame);
        }
    }

    explicit operator bool() const { return m_mapped; }
    /// First row of plane 0.
    [[nodiscard]] const guint8 *rows() const
    {
        return static_cast<const guint8 *>(GST_VIDEO_FRAME_PLANE_DATA(&m_frame, 0));
    }
    /// Distance of two rows of plane 0 in bytes.
    [[nodiscard]] std::ptrdiff_t stride() const
    {
        return GST_VIDEO_FRAME_PLANE_STRIDE(&m_frame, 0);
    }

private:
    GstVideoFrame m_frame = GST_VIDEO_FRAME_INIT;
    bool m_mapped;
};

} // namespace nimbara
