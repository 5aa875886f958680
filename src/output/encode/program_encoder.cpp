#include "output/encode/program_encoder.h"

#include "base/error.h"
#include "output/encode/failure_text.h"
#include "output/encode/picture_converter.h"
#include "output/encode/task_threads.h"
#include "signal/audio_block.h"

#include <gst/app/gstappsrc.h>

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t keyMarginNs = 100'000'000; ///< in which one that is due comes out

BufferRef copiedBuffer(std::span<const float> block)
{
    auto buffer = BufferRef::adopt(gst_buffer_new_allocate(nullptr, block.size_bytes(), nullptr));
    gst_buffer_fill(buffer.get(), 0, block.data(), block.size_bytes());
    return buffer;
}

MessageRef errorOn(GstBus *bus)
{
    return MessageRef::adopt(gst_bus_pop_filtered(bus, GST_MESSAGE_ERROR));
}

} // namespace

ProgramEncoder::ProgramEncoder(const EncoderProfile &profile,
    const std::shared_ptr<PictureConverter> &converter, // NOLINT(modernize-pass-by-value): shared
    const EncoderChoice *h264)
    : m_profile(profile)
    , m_converter(converter)
    , m_rate(profile.bitrate)
    , m_choice(h264)
{
    checkProfile(profile);
    const bool isH264 = profile.codecs == Codecs::H264Aac;
    if (!isH264 || m_choice == nullptr) {
        m_choice = &firstAvailable(videoEncoders(isH264));
    }
    startSound();
    try {
        startPictures(*m_choice);
    } catch (const Error &) {
        if (isPortable()) {
            throw;
        }
        giveUp();
    }
}

ProgramEncoder::~ProgramEncoder() = default;

void ProgramEncoder::startSound()
{
    m_sound = buildSoundEncoding(m_profile);
    feedTaps(m_sound.sink.get(), Track::Sound, m_taps, m_sound.lead);
    setThreadTurn(m_sound.pipeline.bus(), ThreadTurn::Encoder);
    if (!m_sound.pipeline.play()) {
        throw Error(QStringLiteral("No se pudo iniciar salida"));
    }
}

void ProgramEncoder::startPictures(const EncoderChoice &choice)
{
    EncoderProfile profile = m_profile;
    profile.bitrate = m_rate.bitrate();
    m_pictures = PictureBranch(profile, choice, m_converter, m_taps, m_sound.lead);
}

bool ProgramEncoder::isPortable() const
{
    return m_choice == &videoEncoders(m_profile.codecs == Codecs::H264Aac).back();
}

/// The pipeline of what failed may take its time to end, or hang. Throws `Error`.
void ProgramEncoder::giveUp()
{
    m_givenUp = std::exchange(m_choice, &videoEncoders(true).back());
    m_lostBefore = lost();
    m_leaving.start([left = std::make_unique<PictureBranch>(std::move(m_pictures))]() mutable {
        left.reset();
    });
    startPictures(*m_choice);
    if (m_ended) {
        m_pictures.finish();
    }
}

std::uint64_t ProgramEncoder::join(const std::shared_ptr<EncodedTap> &tap)
{
    m_taps->add(tap);
    if (m_base != -1) { // else the first one is
        m_keysAtJoin = m_taps->keys();
        if (m_tick - m_keyAsked >= keySpacingNs) {
            askForKey();
        }
    }
    return ++m_joined;
}

void ProgramEncoder::askForKey()
{
    m_keyAsked = m_tick;
    m_pictures.askForKey();
}

/// At the full rate one comes by itself as late as that.
void ProgramEncoder::serveJoiner()
{
    if (!m_keysAtJoin || m_tick - m_keyAsked < keySpacingNs + keyMarginNs) {
        return;
    }
    if (m_taps->keys() == *m_keysAtJoin) {
        askForKey();
    } else {
        m_keysAtJoin.reset();
    }
}

void ProgramEncoder::stamp(std::int64_t tNs)
{
    if (tNs == m_tick || m_ended) {
        return;
    }
    if (m_base == -1 && !ready()) {
        if (std::exchange(m_waitedAt, tNs) != tNs) {
            m_pictures.noteWait();
        }
        return;
    }
    if (m_base == -1) {
        m_base = tNs;
        m_keyAsked = tNs;
    }
    m_tick = tNs;
    m_pictureTaken = false;
    m_soundTaken = false;
    m_asksForQueues = m_rate.isDue(tNs);
    m_queues.clear();
    m_time = static_cast<std::uint64_t>(std::max<std::int64_t>(tNs - m_base, 0));
    serveJoiner();
}

std::uint64_t ProgramEncoder::nextTime() const
{
    constexpr std::uint64_t margin = 1'000'000; // ticks are no exact thirtieths
    return m_pictureTaken ? m_time + frameDuration - margin : m_time;
}

void ProgramEncoder::pushVideo(const FramePtr &frame)
{
    if (!takes() || std::exchange(m_pictureTaken, true) || !m_pictures.isReady()) {
        return;
    }
    const int every = leftOutEvery(m_effort);
    if (every != 0 && ++m_inTurn >= every) {
        m_inTurn = 0;
        ++m_leftOut;
        return;
    }
    ++m_pushed;
    if (!m_pictures.push(frame, m_time) && isPortable()) {
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
    BufferRef buffer = copiedBuffer(block);
    GST_BUFFER_PTS(buffer.get()) = m_time;
    GST_BUFFER_DURATION(buffer.get()) = duration;
    if (gst_app_src_push_buffer(GST_APP_SRC(m_sound.source.get()), buffer.release())
        != GST_FLOW_OK) {
        m_error = "No se pudo enviar audio a salida";
    }
}

void ProgramEncoder::setEffort(Effort effort)
{
    m_pictures.control().setCheaper(effort != Effort::Full);
    m_effort = effort;
}

std::uint64_t ProgramEncoder::lost() const
{
    return m_lostBefore + m_pictures.lost();
}

void ProgramEncoder::finish()
{
    if (!std::exchange(m_ended, true)) {
        m_pictures.finish();
        gst_app_src_end_of_stream(GST_APP_SRC(m_sound.source.get()));
    }
}

void ProgramEncoder::fitRate()
{
    if (std::exchange(m_asksForQueues, false) && m_rate.observe(m_tick, m_queues)) {
        m_pictures.control().setBitrate(m_rate.bitrate());
    }
}

double ProgramEncoder::rateShare() const
{
    return static_cast<double>(m_rate.bitrate()) / m_profile.bitrate;
}

bool ProgramEncoder::isOfUse()
{
    return !m_pictures.hasStalled(m_taps->pictures())
        && !m_slow.isSlow(m_tick, m_pictures.pushed(), m_pictures.lost(), m_effort);
}

const Message &ProgramEncoder::poll()
{
    if (!m_error.isEmpty()) {
        return m_error;
    }
    const MessageRef picture = errorOn(m_pictures.bus());
    const MessageRef sound = errorOn(m_sound.pipeline.bus());
    if (sound) {
        m_error = failureText(sound.get());
    } else if (picture && isPortable()) {
        m_error = failureText(picture.get());
    } else if (!isPortable() && (picture || !isOfUse())) {
        try {
            giveUp();
        } catch (const std::exception &error) {
            m_error = errorMessage(error);
        }
    }
    return m_error;
}

} // namespace nimbara
