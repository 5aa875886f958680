#include "output/sink/output.h"

#include "base/error.h"
#include "media/gst/bus_error.h"
#include "output/encode/failure_text.h"
#include "output/sink/outlet.h"
#include "output/sink/stream_sockets.h"

namespace nimbara {

namespace {

/// ns of encoded pictures that may wait. A stream that is further behind has to catch up; a disk
/// may take its time.
constexpr std::uint64_t streamPatience = 2'000'000'000;
constexpr std::uint64_t filePatience = 20'000'000'000;
/// With a shared encoder, for what it still holds: a second of pictures, two at half the rate.
constexpr auto endPatience = std::chrono::seconds(4);
/// For the key frame with which another output goes on.
constexpr auto keyPatience = std::chrono::seconds(5);
constexpr const char *notStarted = "No se pudo iniciar salida";

/// The sink tells a bad certificate (G_TLS_ERROR_BAD_CERTIFICATE), a name that is taken
/// (G_IO_ERROR_EXISTS) and a line that takes nothing (G_IO_ERROR_TIMED_OUT, before the watch on a
/// slow machine) only by the error that ends its debug text.
OutputFailure failureOf(GstMessage *message)
{
    const auto [error, debug] = busError(message);
    const QLatin1String cause(debug ? debug.get() : "");
    if (cause.endsWith(QLatin1String("g-tls-error-quark, code 2"))) {
        return OutputFailure::Certificate;
    }
    if (cause.endsWith(QLatin1String("g-io-error-quark, code 2"))) {
        return OutputFailure::NameInUse;
    }
    if (cause.endsWith(QLatin1String("g-io-error-quark, code 24"))) {
        return OutputFailure::Stalled;
    }
    if (!error || error->domain != GST_RESOURCE_ERROR) {
        return OutputFailure::Other;
    }
    switch (error->code) {
    case GST_RESOURCE_ERROR_NOT_AUTHORIZED:
        return OutputFailure::Refused;
    case GST_RESOURCE_ERROR_BUSY:
        return OutputFailure::NameInUse;
    default:
        return OutputFailure::Other;
    }
}

} // namespace

Output::Output(std::int32_t width,
    std::int32_t height,
    bool isStream,
    const QString &location,
    std::int32_t bitrate,
    EncoderPool *pool,
    Begin begin)
    : m_width(width)
    , m_height(height)
    , m_begin(begin)
{
    Outlet outlet = isStream ? buildRtmpOutlet(location) : buildFileOutlet(location);
    m_input = std::make_shared<OutletInput>(std::move(outlet.videoSrc),
        std::move(outlet.audioSrc),
        isStream ? streamPatience : filePatience,
        isStream ? OutletInput::Headers::Follow : OutletInput::Headers::Keep);
    if (isStream) {
        m_input->measureAt(outlet.sink.get());
        m_streamEnd = StreamEnd(outlet.sink.get());
        m_stallWatch = StallWatch(outlet.sink.get());
    }
    const EncoderProfile profile { width, height, outlet.codecs, bitrate };
    checkProfile(profile);
    m_encoder = pool != nullptr ? pool->take(profile) : std::make_shared<ProgramEncoder>(profile);
    m_pipeline = std::move(outlet.pipeline);
    m_running = true;
    if (isStream && !m_pipeline.play()) {
        fail(notStarted);
    } else if (!isStream) {
        m_start.begin(m_pipeline, GST_STATE_PLAYING, PipelineStart::deviceMoment);
    }
    if (m_running) {
        followStart();
    }
    if (!m_running) {
        throw Error(m_error);
    }
}

Output::~Output()
{
    m_streamEnd.end(m_pipeline.bus());
    m_start = {}; // it comes back first
    m_pipeline.stop();
    stream_sockets::closeAbandoned();
}

/// A disk that hangs opens no file, and gives no error.
void Output::followStart()
{
    const PipelineStart::Outcome outcome = m_start.poll();
    if (outcome == PipelineStart::Outcome::Refused) {
        fail(notStarted);
    } else if (outcome == PipelineStart::Outcome::Accepted) {
        m_isOpen = true;
        if (m_begin == Begin::AtOnce) {
            join();
        }
    }
}

void Output::join()
{
    m_queue = m_encoder->join(m_input);
    m_hasJoined = true;
    if (m_encoder->hasEnded()) {
        m_input->finish(); // its end may have gone by
    } else if (m_stopping) {
        m_input->finishAt(m_encoder->nextTime());
        pollEnd();
    }
}

void Output::goOnFrom(Output &before)
{
    const bool goesOn = before.takes() && before.m_encoder == m_encoder;
    if (goesOn) {
        m_input->waitForOther();
    }
    join();
    if (goesOn) {
        before.handOverTo(*this);
    }
}

void Output::stamp(std::int64_t tNs)
{
    if (m_hasJoined) {
        m_encoder->stamp(tNs);
    }
}

std::optional<std::int64_t> Output::position() const
{
    const std::optional<std::uint64_t> base = m_input->base();
    return base ? std::optional(
               static_cast<std::int64_t>(m_encoder->nextTime()) - static_cast<std::int64_t>(*base))
                : std::nullopt;
}

void Output::pushVideo(const FramePtr &frame)
{
    if (m_running && !m_stopping && frame->size() != size()) {
        fail("El formato cambio durante salida");
    }
    if (takes()) {
        m_encoder->pushVideo(frame);
    }
}

void Output::pushAudio(std::span<const float> block)
{
    if (takes()) {
        m_encoder->pushAudio(block);
    }
}

void Output::pollOutput()
{
    if (m_running && !m_isOpen) {
        followStart();
    }
    if (!m_isOpen) {
        return;
    }
    const auto wanted = static_cast<GstMessageType>(GST_MESSAGE_ERROR | GST_MESSAGE_EOS);
    const auto message = MessageRef::adopt(gst_bus_pop_filtered(m_pipeline.bus(), wanted));
    if (m_stopping && m_running) {
        pollEnd();
    }
    if (message && GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_EOS) {
        m_finished = m_finished || m_running; // what has failed comes to its end, too
        m_running = false;
    } else if (message) {
        m_streamEnd.note(message.get());
        m_failure = failureOf(message.get());
        fail(failureText(message.get()));
    } else if (m_running && !m_encoder->poll().isEmpty()) {
        fail(m_encoder->poll());
    } else if (m_running && m_stallWatch.stalled(m_encoder->time())) {
        m_failure = OutputFailure::Stalled;
        fail(failureText(GST_RESOURCE_ERROR_WRITE));
    }
    tellQueue();
}

/// Only a server that takes the stream tells how much the line carries.
void Output::tellQueue()
{
    if (m_encoder->asksForQueues() && accepted()) {
        const OutletFigures own = figures();
        m_encoder->tellQueue({ m_queue, own.waitingNs, own.dropped });
    }
}

void Output::finish()
{
    if (!m_running || m_stopping) {
        return;
    }
    m_stopping = true;
    m_stoppedAt = std::chrono::steady_clock::now();
    if (m_hasJoined) {
        m_input->finishAt(m_encoder->nextTime());
        pollEnd();
    }
}

void Output::endEncoder()
{
    m_encoder->finish();
}

void Output::takeBack()
{
    if (m_running && m_handsOver) {
        m_handsOver = false;
        m_stopping = false;
        m_input->takeBack();
    }
}

void Output::handOverTo(Output &next)
{
    m_stopping = true;
    m_handsOver = true;
    m_stoppedAt = std::chrono::steady_clock::now();
    m_input->handOverTo(next.m_input);
}

/// What was pushed is still to be encoded. An encoder of one's own ends; one that others use goes
/// on, unless they have stopped to push as well.
void Output::pollEnd()
{
    if (m_encoder.use_count() == 1) {
        m_encoder->finish();
    } else if (std::chrono::steady_clock::now() - m_stoppedAt
        > (m_handsOver ? keyPatience : endPatience)) {
        m_input->finish();
    }
}

void Output::fail(const Message &reason)
{
    m_error = reason;
    m_running = false;
}

} // namespace nimbara
