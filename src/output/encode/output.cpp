#include "output/encode/output.h"

#include "base/error.h"
#include "output/encode/output_pipeline.h"
#include "output/encode/warm_up.h"
#include "signal/audio_block.h"

#include <gst/app/gstappsrc.h>

#include <algorithm>

namespace nimbara {

namespace {

constexpr std::uint64_t frameDuration = 33'333'333; // ns

/// A buffer that reads the frame's own pixels and keeps the frame alive for as long.
BufferRef sharedBuffer(const FramePtr &frame)
{
    const gsize size = frame->pixels.size();
    return BufferRef::adopt(gst_buffer_new_wrapped_full(GST_MEMORY_FLAG_READONLY,
        const_cast<std::uint8_t *>(frame->pixels.data()), // NOLINT: the memory is read-only
        size,
        0,
        size,
        new FramePtr(frame),
        [](gpointer held) { delete static_cast<FramePtr *>(held); }));
}

BufferRef copiedBuffer(std::span<const float> block)
{
    auto buffer = BufferRef::adopt(gst_buffer_new_allocate(nullptr, block.size_bytes(), nullptr));
    gst_buffer_fill(buffer.get(), 0, block.data(), block.size_bytes());
    return buffer;
}

/// Gives the buffer to the input; false when the input refuses it.
bool push(const ElementRef &source, BufferRef buffer, std::uint64_t pts, std::uint64_t duration)
{
    GST_BUFFER_PTS(buffer.get()) = pts;
    GST_BUFFER_DURATION(buffer.get()) = duration;
    return gst_app_src_push_buffer(GST_APP_SRC(source.get()), buffer.release()) == GST_FLOW_OK;
}

Message failureText(int code)
{
    return { "Fallo de salida (codigo %1). Revisa destino, permisos y codecs.",
        { Message::verbatim(QString::number(code)) } };
}

/// The operator's text of an error on the bus. The code alone: messages and their debug texts may
/// hold the location.
Message failureText(GstMessage *message)
{
    GError *raw = nullptr;
    gst_message_parse_error(message, &raw, nullptr);
    const GErrorPtr error(raw);
    if (!error) {
        return "Fallo de salida";
    }
    return failureText(error->code);
}

} // namespace

Output::Output(std::int32_t width,
    std::int32_t height,
    bool isStream,
    const QString &location,
    std::int32_t bitrate)
    : m_width(width)
    , m_height(height)
{
    OutputPipeline built = buildOutputPipeline({ width, height, isStream, location, bitrate });
    m_videoSrc = std::move(built.videoSrc);
    m_audioSrc = std::move(built.audioSrc);
    m_streamEnd = std::move(built.streamEnd);
    m_stallWatch = std::move(built.stallWatch);
    m_pipeline = std::move(built.pipeline);
    if (!m_pipeline.play()) {
        throw Error(QStringLiteral("No se pudo iniciar salida"));
    }
    m_ready = warmUp(m_videoSrc.get(), built.videoEncoder.get());
    m_running = true;
}

Output::~Output()
{
    m_streamEnd.end(m_pipeline.bus());
}

void Output::stamp(std::int64_t tNs)
{
    if (m_baseTime == -1) {
        if (!ready()) {
            return;
        }
        m_baseTime = tNs;
    }
    const auto elapsed = static_cast<std::uint64_t>(std::max<std::int64_t>(tNs - m_baseTime, 0));
    m_nextVideoPts = elapsed;
    m_nextAudioPts = elapsed;
}

void Output::pushVideo(const FramePtr &frame)
{
    if (!m_running || m_stopping) {
        return;
    }
    if (frame->size() != size()) {
        fail("El formato cambio durante salida");
        return;
    }
    if (!takes()) {
        return;
    }
    if (!push(m_videoSrc, sharedBuffer(frame), m_nextVideoPts, frameDuration)) {
        fail("No se pudo enviar video a salida");
    }
    m_nextVideoPts += frameDuration;
}

void Output::pushAudio(std::span<const float> block)
{
    if (!takes() || block.empty()) {
        return;
    }
    const std::uint64_t frames = block.size() / audioChannels;
    const std::uint64_t duration = gst_util_uint64_scale(frames, GST_SECOND, audioRate);
    if (!push(m_audioSrc, copiedBuffer(block), m_nextAudioPts, duration)) {
        fail("No se pudo enviar audio a salida");
    }
    m_nextAudioPts += duration;
}

void Output::pollOutput()
{
    const auto wanted = static_cast<GstMessageType>(GST_MESSAGE_ERROR | GST_MESSAGE_EOS);
    const auto message = MessageRef::adopt(gst_bus_pop_filtered(m_pipeline.bus(), wanted));
    if (!message) {
        if (m_running && m_stallWatch.stalled(m_nextVideoPts)) {
            fail(failureText(GST_RESOURCE_ERROR_WRITE));
        }
        return;
    }
    if (GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_ERROR) {
        m_streamEnd.note(message.get());
        fail(failureText(message.get()));
        return;
    }
    m_running = false;
    m_finished = true;
}

void Output::finish()
{
    if (!m_running || m_stopping) {
        return;
    }
    m_stopping = true;
    gst_app_src_end_of_stream(GST_APP_SRC(m_videoSrc.get()));
    gst_app_src_end_of_stream(GST_APP_SRC(m_audioSrc.get()));
}

void Output::fail(const Message &reason)
{
    m_error = reason;
    m_running = false;
}

} // namespace nimbara
