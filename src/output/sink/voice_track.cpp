#include "output/sink/voice_track.h"

#include "base/error.h"
#include "output/encode/pipeline_parts.h"
#include "output/encode/task_threads.h"
#include "signal/audio_block.h"

#include <QFileInfo>

#include <gst/app/gstappsrc.h>

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

constexpr std::int32_t bitrate = 32000; ///< speech of one channel sounds well with it
constexpr gint complexity = 3; ///< of 10: half the work, and speech sounds the same
constexpr std::chrono::milliseconds lookAgain { 200 }; ///< whether the file has grown
constexpr std::int64_t silencePiece = audioRate; ///< frames
constexpr std::uint64_t pageNs = 500'000'000;

gsize bytesOf(std::int64_t frames)
{
    return static_cast<gsize>(frames) * sizeof(std::int16_t);
}

BufferRef newBuffer(std::int64_t frames)
{
    return BufferRef::adopt(gst_buffer_new_allocate(nullptr, bytesOf(frames), nullptr));
}

} // namespace

VoiceTrack::VoiceTrack(const QString &path)
    : m_path(path)
{
    PipelineParts parts("nimbara-voice");
    GstElement *source = parts.makeInput();
    GstElement *encoder = parts.make("opusenc");
    GstElement *muxer = parts.make("oggmux");
    GstElement *sink = parts.makeFileSink(path);
    g_object_set(source,
        "caps",
        capsOf(QStringLiteral("audio/x-raw,format=S16LE,layout=interleaved,channels=1,rate=%1")
                   .arg(audioRate))
            .get(),
        nullptr);
    gst_util_set_object_arg(G_OBJECT(encoder), "audio-type", "voice");
    gst_util_set_object_arg(G_OBJECT(encoder), "bitrate-type", "vbr"); // silence costs nearly none
    g_object_set(encoder, "bitrate", bitrate, "complexity", complexity, nullptr);
    g_object_set(muxer, "max-page-delay", pageNs, "max-delay", pageNs, nullptr);
    PipelineParts::link({ source, encoder, muxer, sink });
    m_source = ElementRef::retain(source);
    m_pipeline = parts.take();
    setThreadTurn(m_pipeline.bus(), ThreadTurn::AfterOthers);
    if (!m_pipeline.play()) {
        throw Error(QStringLiteral("No se pudo iniciar salida"));
    }
}

void VoiceTrack::append(BufferRef buffer, std::int64_t frames)
{
    const auto ns = [](std::int64_t count) {
        return gst_util_uint64_scale(static_cast<guint64>(count), GST_SECOND, audioRate);
    };
    GST_BUFFER_PTS(buffer.get()) = ns(m_frames);
    GST_BUFFER_DURATION(buffer.get()) = ns(frames);
    m_frames += frames;
    if (gst_app_src_push_buffer(GST_APP_SRC(m_source.get()), buffer.release()) != GST_FLOW_OK) {
        m_isWell = false;
    }
}

void VoiceTrack::appendSilence(std::int64_t frames)
{
    const std::int64_t longest = std::min(frames, silencePiece);
    const BufferRef silence = newBuffer(longest);
    gst_buffer_memset(silence.get(), 0, 0, bytesOf(longest));
    for (; frames > 0; frames -= silencePiece) {
        const std::int64_t piece = std::min(frames, silencePiece);
        append(
            BufferRef::adopt(
                gst_buffer_copy_region(silence.get(), GST_BUFFER_COPY_MEMORY, 0, bytesOf(piece))),
            piece);
    }
}

void VoiceTrack::push(std::int64_t atMs, const std::vector<std::int16_t> &values)
{
    const std::int64_t missing = atMs * audioRate / 1000 - m_frames;
    if (missing > slackMs * audioRate / 1000) {
        appendSilence(missing);
    }
    if (values.empty()) {
        return;
    }
    const auto frames = static_cast<std::int64_t>(values.size());
    BufferRef buffer = newBuffer(frames);
    gst_buffer_fill(buffer.get(), 0, values.data(), bytesOf(frames));
    append(std::move(buffer), frames);
}

bool VoiceTrack::isWell()
{
    const auto message
        = MessageRef::adopt(gst_bus_pop_filtered(m_pipeline.bus(), GST_MESSAGE_ERROR));
    m_isWell = m_isWell && !message;
    return m_isWell;
}

bool VoiceTrack::finish(std::chrono::milliseconds patience)
{
    gst_app_src_end_of_stream(GST_APP_SRC(m_source.get()));
    qint64 known = -1;
    for (std::chrono::milliseconds idle { 0 }; idle < patience; idle += lookAgain) {
        const auto message = MessageRef::adopt(gst_bus_timed_pop_filtered(m_pipeline.bus(),
            static_cast<GstClockTime>(std::min(lookAgain, patience - idle).count()) * GST_MSECOND,
            static_cast<GstMessageType>(GST_MESSAGE_ERROR | GST_MESSAGE_EOS)));
        if (message) {
            return GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_EOS;
        }
        if (const qint64 bytes = QFileInfo(m_path).size(); bytes != known) {
            known = bytes;
            idle = std::chrono::milliseconds(0);
        }
    }
    return false;
}

} // namespace nimbara
