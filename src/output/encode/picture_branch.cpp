#include "output/encode/picture_branch.h"

#include "base/error.h"
#include "output/encode/pipeline_parts.h"
#include "output/encode/task_threads.h"
#include "output/encode/warm_up.h"

#include <gst/app/gstappsrc.h>
#include <gst/video/video.h>

#include <algorithm>

namespace nimbara {

namespace {

using Count = std::atomic<std::uint64_t>;

constexpr std::uint64_t mostUnseen = 120; ///< pictures: 4 s, thrice what may wait in front

GstAppSrc *inputOf(const PictureEncoding &parts)
{
    return GST_APP_SRC_CAST(parts.source.get());
}

/// By the pictures that leave the input: what comes before them out of it was let go of.
void count(GstElement *source, const std::shared_ptr<Count> &taken)
{
    using Shared = std::shared_ptr<Count>;
    gst_pad_add_probe(
        padOf(source, "src").get(),
        GST_PAD_PROBE_TYPE_BUFFER,
        [](GstPad *, GstPadProbeInfo *, gpointer data) {
            (*static_cast<Shared *>(data))->fetch_add(1);
            return GST_PAD_PROBE_OK;
        },
        new Shared(taken),
        [](gpointer data) { delete static_cast<Shared *>(data); });
}

} // namespace

PictureBranch::PictureBranch(const EncoderProfile &profile,
    const EncoderChoice &choice,
    const std::shared_ptr<PictureConverter> &converter,
    const std::shared_ptr<TapList> &taps,
    std::uint64_t lead)
    : m_parts(buildPictureEncoding(profile, choice, converter))
    , m_taken(std::make_shared<Count>(0))
    , m_outSeen(taps->pictures())
{
    feedTaps(m_parts.sink.get(), Track::Picture, taps, lead);
    count(m_parts.source.get(), m_taken);
    setThreadTurn(bus(), ThreadTurn::Encoder);
    if (!m_parts.pipeline.play()) {
        throw Error(QStringLiteral("No se pudo iniciar salida"));
    }
    m_ready = warmUp(m_parts.source.get(), m_parts.encoder.get(), choice.delaysPictures);
}

bool PictureBranch::push(const FramePtr &frame, std::uint64_t time)
{
    ++m_pushed;
    BufferRef buffer = frameBuffer(frame);
    GST_BUFFER_PTS(buffer.get()) = time;
    GST_BUFFER_DURATION(buffer.get()) = frameDuration;
    return gst_app_src_push_buffer(inputOf(m_parts), buffer.release()) == GST_FLOW_OK;
}

void PictureBranch::askForKey() const
{
    if (m_parts.encoder) {
        gst_pad_send_event(padOf(m_parts.encoder.get(), "src").get(),
            gst_video_event_new_upstream_force_key_unit(GST_CLOCK_TIME_NONE, FALSE, 0));
    }
}

void PictureBranch::finish() const
{
    if (m_parts.source) {
        gst_app_src_end_of_stream(inputOf(m_parts));
    }
}

std::uint64_t PictureBranch::lost() const
{
    if (!m_parts.source) {
        return 0;
    }
    const std::uint64_t waiting = gst_app_src_get_current_level_buffers(inputOf(m_parts));
    const std::uint64_t taken = *m_taken; // the first one was never pushed: it warmed up
    const std::uint64_t seen = taken - std::min<std::uint64_t>(taken, 1) + waiting;
    return m_pushed - std::min(seen, m_pushed);
}

bool PictureBranch::hasStalled(std::uint64_t out)
{
    if (out != m_outSeen) {
        m_outSeen = out;
        m_pushedThen = m_waits + m_pushed;
    }
    return m_waits + m_pushed - m_pushedThen > mostUnseen;
}

} // namespace nimbara
