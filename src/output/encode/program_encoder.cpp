#include "output/encode/program_encoder.h"

#include "base/error.h"
#include "output/encode/failure_text.h"
#include "output/encode/picture_converter.h"
#include "output/encode/pipeline_parts.h"
#include "output/encode/task_threads.h"
#include "output/encode/warm_up.h"
#include "signal/audio_block.h"

#include <gst/app/gstappsink.h>
#include <gst/app/gstappsrc.h>
#include <gst/video/video.h>

#include <algorithm>
#include <thread>
#include <utility>

namespace nimbara {

namespace {

constexpr std::uint64_t frameDuration = 33'333'333; // ns

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

} // namespace

/// One end of the pipeline, on its thread.
struct ProgramEncoder::End {
    std::shared_ptr<Ends> ends;
    Track track;

    template <typename Give> void give(Give give) const
    {
        const std::lock_guard lock(ends->mutex);
        std::erase_if(ends->taps, [](const auto &tap) { return tap.expired(); });
        for (const auto &each : ends->taps) {
            if (const auto tap = each.lock()) {
                give(*tap);
            }
        }
    }
    static GstFlowReturn newSample(GstAppSink *sink, gpointer data)
    {
        const End &end = *static_cast<End *>(data);
        const auto sample = SampleRef::adopt(gst_app_sink_try_pull_sample(sink, 0));
        GstBuffer *buffer = sample ? gst_sample_get_buffer(sample.get()) : nullptr;
        const bool isPicture = end.track == Track::Picture;
        if (buffer == nullptr || !GST_BUFFER_PTS_IS_VALID(buffer)
            || (!isPicture && GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_HEADER))) {
            return GST_FLOW_OK; // the caps hold the headers of sound
        }
        const std::uint64_t lead = end.ends->soundLead;
        const EncodedUnit unit { BufferRef::retain(buffer),
            CapsRef::retain(gst_sample_get_caps(sample.get())),
            GST_BUFFER_PTS(buffer) + (isPicture ? lead : 0),
            lead,
            !isPicture || !GST_BUFFER_FLAG_IS_SET(buffer, GST_BUFFER_FLAG_DELTA_UNIT) };
        end.give([&](EncodedTap &tap) { tap.take(end.track, unit); });
        return GST_FLOW_OK;
    }
    static void ended(GstAppSink * /*sink*/, gpointer data)
    {
        const End &end = *static_cast<End *>(data);
        end.give([&](EncodedTap &tap) { tap.end(end.track); });
    }
};

ProgramEncoder::ProgramEncoder(const EncoderProfile &profile,
    const std::shared_ptr<PictureConverter> &converter)
    : m_parts(buildEncoderPipeline(profile, converter))
{
    m_ends->soundLead = m_parts.soundLead;
    listen(m_parts.videoSink, Track::Picture);
    listen(m_parts.audioSink, Track::Sound);
    countTaken();
    giveWayToOthers(m_parts.pipeline.bus());
    if (!m_parts.pipeline.play()) {
        throw Error(QStringLiteral("No se pudo iniciar salida"));
    }
    m_ready = warmUp(m_parts.videoSrc.get(), m_parts.videoEncoder.get());
}

ProgramEncoder::~ProgramEncoder() = default;

/// The receiver hears the encoder's lead as sound, so all sound comes late by it; so does the
/// picture.
void ProgramEncoder::listen(const ElementRef &sink, Track track)
{
    GstAppSinkCallbacks callbacks {};
    callbacks.new_sample = &End::newSample;
    callbacks.eos = &End::ended;
    gst_app_sink_set_callbacks(GST_APP_SINK(sink.get()),
        &callbacks,
        new End { m_ends, track },
        [](gpointer data) { delete static_cast<End *>(data); });
}

/// By the pictures that leave the input: what comes before them out of it was let go of.
void ProgramEncoder::countTaken()
{
    gst_pad_add_probe(
        padOf(m_parts.videoSrc.get(), "src").get(),
        GST_PAD_PROBE_TYPE_BUFFER,
        [](GstPad *, GstPadProbeInfo *, gpointer data) {
            (*static_cast<std::shared_ptr<Ends> *>(data))->taken.fetch_add(1);
            return GST_PAD_PROBE_OK;
        },
        new std::shared_ptr<Ends>(m_ends),
        [](gpointer data) { delete static_cast<std::shared_ptr<Ends> *>(data); });
}

void ProgramEncoder::join(const std::shared_ptr<EncodedTap> &tap)
{
    {
        const std::lock_guard lock(m_ends->mutex);
        m_ends->taps.push_back(tap);
    }
    if (m_base != -1) { // else the first one is
        askForKey();
    }
}

void ProgramEncoder::askForKey()
{
    if (m_tick - m_keyAsked >= keySpacingNs) {
        m_keyAsked = m_tick;
        gst_pad_send_event(padOf(m_parts.videoEncoder.get(), "src").get(),
            gst_video_event_new_upstream_force_key_unit(GST_CLOCK_TIME_NONE, FALSE, 0));
    }
}

void ProgramEncoder::stamp(std::int64_t tNs)
{
    if (tNs == m_tick || m_ended || (m_base == -1 && !ready())) {
        return;
    }
    if (m_base == -1) {
        m_base = tNs;
        m_keyAsked = tNs;
    }
    m_tick = tNs;
    m_pictureTaken = false;
    m_soundTaken = false;
    m_time = static_cast<std::uint64_t>(std::max<std::int64_t>(tNs - m_base, 0));
}

std::uint64_t ProgramEncoder::nextTime() const
{
    constexpr std::uint64_t margin = 1'000'000; // ticks are no exact thirtieths
    return m_pictureTaken ? m_time + frameDuration - margin : m_time;
}

void ProgramEncoder::pushVideo(const FramePtr &frame)
{
    if (!takes() || std::exchange(m_pictureTaken, true)) {
        return;
    }
    if (m_isHalfRate && std::exchange(m_skips, !m_skips)) {
        return;
    }
    ++m_pushed;
    if (!push(m_parts.videoSrc, frameBuffer(frame), m_time, frameDuration)) {
        m_error = "No se pudo enviar video a salida";
    }
}

void ProgramEncoder::pushAudio(std::span<const float> block)
{
    if (!takes() || block.empty() || std::exchange(m_soundTaken, true)) {
        return;
    }
    const std::uint64_t frames = block.size() / audioChannels;
    const std::uint64_t duration = gst_util_uint64_scale(frames, GST_SECOND, audioRate);
    if (!push(m_parts.audioSrc, copiedBuffer(block), m_time, duration)) {
        m_error = "No se pudo enviar audio a salida";
    }
}

void ProgramEncoder::setEffort(Effort effort)
{
    m_parts.effort.setCheaper(effort != Effort::Full);
    m_isHalfRate = effort == Effort::HalfRate;
}

std::uint64_t ProgramEncoder::lost() const
{
    const std::uint64_t waiting
        = gst_app_src_get_current_level_buffers(GST_APP_SRC(m_parts.videoSrc.get()));
    const std::uint64_t taken = m_ends->taken; // the first one was never pushed: it warmed up
    const std::uint64_t seen = taken - std::min<std::uint64_t>(taken, 1) + waiting;
    return m_pushed - std::min(seen, m_pushed);
}

void ProgramEncoder::finish()
{
    if (!std::exchange(m_ended, true)) {
        gst_app_src_end_of_stream(GST_APP_SRC(m_parts.videoSrc.get()));
        gst_app_src_end_of_stream(GST_APP_SRC(m_parts.audioSrc.get()));
    }
}

const Message &ProgramEncoder::poll()
{
    const auto message
        = MessageRef::adopt(gst_bus_pop_filtered(m_parts.pipeline.bus(), GST_MESSAGE_ERROR));
    if (message && m_error.isEmpty()) {
        m_error = failureText(message.get());
    }
    return m_error;
}

std::shared_ptr<ProgramEncoder> EncoderPool::take(const EncoderProfile &profile)
{
    std::erase_if(m_entries, [](const Entry &entry) { return entry.encoder.expired(); });
    for (const Entry &entry : m_entries) {
        if (entry.profile != profile) {
            continue; // the last reference is never one of this thread
        }
        auto encoder = entry.encoder.lock();
        if (encoder && !encoder->hasEnded() && encoder->poll().isEmpty()) {
            return encoder;
        }
    }
    auto encoder = std::make_shared<ProgramEncoder>(profile, m_converter);
    m_entries.push_back({ profile, encoder });
    return encoder;
}

void EncoderPool::poll(std::int64_t tNs)
{
    std::erase_if(m_entries, [](const Entry &entry) { return entry.encoder.expired(); });
    for (Entry &entry : m_entries) {
        if (const auto encoder = entry.encoder.lock()) {
            count(entry, *encoder);
            encoder->setEffort(effortNow());
        }
    }
    m_pressure.observe(tNs, m_pushed, m_lost);
}

void EncoderPool::count(Entry &entry, const ProgramEncoder &encoder)
{
    m_pushed += encoder.pushed() - std::exchange(entry.pushed, encoder.pushed());
    const std::uint64_t lost = std::max(encoder.lost(), entry.lost); // one may be on its way out
    m_lost += lost - std::exchange(entry.lost, lost);
}

/// Two encoders have no core to spare for each other on the smallest machines.
Effort EncoderPool::effortNow() const
{
    const bool isTight = m_entries.size() > 1 && std::thread::hardware_concurrency() <= 2;
    return std::max(m_pressure.effort(), isTight ? Effort::Cheaper : Effort::Full);
}

} // namespace nimbara
