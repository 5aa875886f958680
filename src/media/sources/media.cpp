#include "media/sources/media.h"

#include "base/error.h"
#include "base/log.h"
#include "base/secret_texts.h"
#include "media/capture/devices.h"
#include "media/gst/bus_error.h"
#include "media/gst/gst_build.h"
#include "media/gst/gst_maps.h"
#include "media/sources/frame_maker.h"

#include <gst/app/gstappsink.h>

#include <cstring>
#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t deviceTimeoutUs = 4'000'000;
constexpr std::int64_t sourceTimeoutUs = 10'000'000;
constexpr int soundSamplesPerPoll = 8;
constexpr std::size_t soundFrameBytes = sizeof(float) * audioChannels;

SampleRef tryPull(const ElementRef &sink)
{
    return SampleRef::adopt(gst_app_sink_try_pull_sample(GST_APP_SINK_CAST(sink.get()), 0));
}

bool sinkEnded(const ElementRef &sink)
{
    return gst_app_sink_is_eos(GST_APP_SINK_CAST(sink.get())) != FALSE;
}

PadRef sinkPad(const ElementRef &element)
{
    return PadRef::adopt(gst_element_get_static_pad(element.get(), "sink"));
}

bool isFed(const ElementRef &head)
{
    return gst_pad_is_linked(sinkPad(head).get()) != FALSE;
}

void linkTo(const ElementRef &head, GstPad *pad)
{
    const PadRef sink = sinkPad(head);
    if (gst_pad_is_linked(sink.get()) == FALSE) {
        gst_pad_link(pad, sink.get());
    }
}

/// A clip on a server has a length and can be rewound; a live stream has none, though the library
/// may take it for one that can be.
bool isClip(GstElement *pipeline)
{
    const QueryRef query = QueryRef::adopt(gst_query_new_seeking(GST_FORMAT_TIME));
    gboolean seekable = FALSE;
    if (gst_element_query(pipeline, query.get()) != FALSE) {
        gst_query_parse_seeking(query.get(), nullptr, &seekable, nullptr, nullptr);
    }
    gint64 lengthNs = 0;
    return seekable != FALSE
        && gst_element_query_duration(pipeline, GST_FORMAT_TIME, &lengthNs) != FALSE
        && lengthNs > 0;
}

Message refusedText()
{
    return "No se pudo iniciar fuente";
}

QString errorDescription(GstMessage *message)
{
    const auto [error, debug] = busError(message);
    QString text = error ? QString::fromUtf8(error->message) : QStringLiteral("error");
    if (debug) {
        text += QStringLiteral(" [%1]").arg(QString::fromUtf8(debug.get()));
    }
    return text;
}

} // namespace

Media::Media(const Clock &clock,
    const SourceRequest &request,
    const ScreenElements &screens,
    std::shared_ptr<OpeningSlots> holding)
    : m_stream(request.stream)
    , m_clock(clock)
    , m_isDevice(request.device != nullptr)
    , m_isTestBars(request.isTestBars())
    , m_isFile(request.uri.startsWith(QLatin1String("file:")))
    , m_isNetwork(!request.uri.isEmpty() && !m_isFile)
    , m_hasKnownEnd(m_isFile)
    , m_location(request.uri)
    , m_login(request.network.login)
    , m_lastFrameTime(clock.monotonicUs())
    , m_wantedMode(request.mode)
    , m_parts(buildSourcePipeline(request, screens))
{
    m_label = m_parts.label;
    if (m_isDevice) {
        m_trouble = DeviceTrouble::watch(m_parts.pipeline, deviceFile(request.device));
    }
    if (!request.uri.isEmpty()) {
        linkDecodedPads();
    }
    if (m_isFile && holding) {
        m_playback.hold(m_parts.pipeline, std::move(holding));
    } else {
        play();
    }
}

Media::~Media() = default;

void Media::play()
{
    const auto moment = m_isDevice ? PipelineStart::deviceMoment : PipelineStart::mediaMoment;
    const bool refused = m_isTestBars
        ? !m_parts.pipeline.play()
        : m_playback.play(m_parts.pipeline, moment) == PipelineStart::Outcome::Refused;
    if (refused) {
        throw Error(refusedText());
    }
}

void Media::linkDecodedPads()
{
    auto branches = std::make_unique<std::shared_ptr<Branches>>(
        std::make_shared<Branches>(Branches { m_parts.pictureHead, m_parts.audioConvert }));
    g_signal_connect_data(
        m_parts.source.get(),
        "pad-added",
        G_CALLBACK(&Media::padAdded),
        branches.release(),
        [](gpointer held, GClosure *) { delete static_cast<std::shared_ptr<Branches> *>(held); },
        GConnectFlags {});
}

/// On a thread of the decoder. A second stream of a kind stays unlinked, as do all other kinds.
void Media::padAdded(GstElement * /*element*/, GstPad *pad, gpointer source)
{
    const auto branches = *static_cast<std::shared_ptr<Branches> *>(source);
    auto caps = CapsRef::adopt(gst_pad_get_current_caps(pad));
    if (!caps) {
        caps = CapsRef::adopt(gst_pad_query_caps(pad, nullptr));
    }
    if (!caps || gst_caps_get_size(caps.get()) == 0) {
        return;
    }
    const gchar *name = gst_structure_get_name(gst_caps_get_structure(caps.get(), 0));
    if (g_str_has_prefix(name, "video/") != FALSE) {
        linkTo(branches->pictureHead, pad);
    }
    if (g_str_has_prefix(name, "audio/") != FALSE) {
        linkTo(branches->audioConvert, pad);
    }
}

/// A file without a picture plays its sound alone.
bool Media::isReady()
{
    return m_frameCount > 0 || !m_active
        || (startOutcome() == PipelineStart::Outcome::Accepted && isFed(m_parts.audioConvert)
            && !m_audioFifo.empty() && !isFed(m_parts.pictureHead));
}

Message Media::takeMessage()
{
    if (!m_message.isEmpty() && !m_active && !isOver()) {
        m_frame.reset();
        m_waiting.clear();
        m_sample = {};
    }
    return std::exchange(m_message, {});
}

void Media::setShown(bool shown)
{
    if (m_isFile && m_active) {
        m_playback.setPlaying(shown);
    }
}

void Media::showIn(const std::vector<PictureBox> &boxes)
{
    const std::int64_t now = m_clock.monotonicUs();
    const bool isFirst = m_boxes.empty();
    if (!boxes.empty() && boxes != m_boxes) {
        m_boxes = boxes;
        m_boxesSince = now;
    }
    if (m_boxesSince && (isFirst || m_frameCount == 0 || now - *m_boxesSince >= settleUs)) {
        m_boxesSince.reset();
        m_parts.picture->showIn(m_boxes);
    }
}

std::optional<FrameSize> Media::naturalSize() const
{
    const FrameSize size = m_parts.picture->size();
    return m_frameCount > 0 && size.width > 0 ? std::optional(size) : std::nullopt;
}

void Media::pollSource()
{
    if (!m_active || takeBusMessage()) {
        return;
    }
    const PipelineStart::Outcome start = startOutcome();
    if (start == PipelineStart::Outcome::Refused) {
        fail(refusedText());
    } else if (m_playback.isHeld()) {
        m_lastFrameTime = m_clock.monotonicUs(); // none is due
    } else {
        pollStreams(start);
    }
}

void Media::pollStreams(PipelineStart::Outcome start)
{
    takeSound();
    SampleRef sample = tryPull(m_parts.videoSink);
    const std::int64_t now = m_clock.monotonicUs();
    const bool isAnswered = m_isDevice && start == PipelineStart::Outcome::Accepted;
    if (isAnswered && !std::exchange(m_isAnswered, true)) {
        m_lastFrameTime = now; // its answer may have taken long, too
    }
    if (sample) {
        takePicture(std::move(sample), now);
    } else if (start == PipelineStart::Outcome::Accepted && streamsEnded()) {
        end();
    } else if (now - m_lastFrameTime > (m_isDevice ? deviceTimeoutUs : sourceTimeoutUs)) {
        starve(now);
    }
}

/// A file that has begun to play goes on: a picture may stand in it for minutes, its sound may be
/// longer or all that it has, and a share that has gone away may come back.
void Media::starve(std::int64_t now)
{
    const Message text = m_isDevice ? "Cámara sin cuadros; se vuelve a abrir"
                                    : "Fuente sin frames durante 10 segundos";
    if (m_isFile && (m_frameCount > 0 || m_hasSounded)) {
        const bool isPictureDue = isFed(m_parts.pictureHead) && !sinkEnded(m_parts.videoSink);
        if (isPictureDue && !std::exchange(m_hasToldGap, true)) {
            m_message = text;
        }
        m_lastFrameTime = now;
        return;
    }
    m_starved = true;
    fail(text);
}

/// True when the source is over.
bool Media::takeBusMessage()
{
    constexpr auto kinds
        = static_cast<GstMessageType>(GST_MESSAGE_ERROR | GST_MESSAGE_EOS | GST_MESSAGE_LATENCY);
    bool isDelayed = false;
    auto message = MessageRef::adopt(gst_bus_pop_filtered(m_parts.pipeline.bus(), kinds));
    while (message && GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_LATENCY) {
        isDelayed = true;
        message = MessageRef::adopt(gst_bus_pop_filtered(m_parts.pipeline.bus(), kinds));
    }
    if (isDelayed && m_isNetwork) {
        followLatency();
    }
    if (!message) {
        return false;
    }
    if (GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_EOS) {
        end();
    } else {
        failWith(message.get());
    }
    return true;
}

/// The sinks learn how long a live stream's pictures may be on their way; shown as they come, they
/// would stutter with the network. On a thread of the library, since it asks every element.
void Media::followLatency()
{
    gst_element_call_async(
        m_parts.pipeline.element(),
        [](GstElement *pipeline, gpointer) { gst_bin_recalculate_latency(GST_BIN_CAST(pipeline)); },
        nullptr,
        nullptr);
}

/// What the operator can do something about is told by its name.
void Media::failWith(GstMessage *error)
{
    // A library repeats the location, which may hold a password.
    const QString described = withoutSecrets(errorDescription(error));
    m_wantsLogin = m_isNetwork && asksForLogin(error);
    const Message trouble = m_trouble ? m_trouble->text()
        : m_wantsLogin                ? Message("pide usuario y contraseña.")
                                      : Message();
    if (!trouble.isEmpty()) {
        logLine(QStringLiteral("Fuente sin señal: ") + described);
    }
    fail("Fuente sin señal: " + (trouble.isEmpty() ? Message::verbatim(described) : trouble));
}

/// Every branch that is fed has run dry. The pipeline itself reports its end only when each of its
/// sinks has one, and a branch that no stream feeds never has.
bool Media::streamsEnded() const
{
    const bool picture = isFed(m_parts.pictureHead);
    const bool sound = isFed(m_parts.audioConvert);
    return (picture || sound) && (!picture || sinkEnded(m_parts.videoSink))
        && (!sound || sinkEnded(m_parts.audioSink));
}

void Media::takeSound()
{
    for (int taken = 0; taken < soundSamplesPerPoll; ++taken) {
        const SampleRef sample = tryPull(m_parts.audioSink);
        if (!sample) {
            m_soundIsOver = sinkEnded(m_parts.audioSink);
            return;
        }
        const BufferMap map(gst_sample_get_buffer(sample.get()));
        if (!map || map.size() % soundFrameBytes != 0) {
            continue;
        }
        m_soundBuffer.resize(map.size() / sizeof(float));
        std::memcpy(m_soundBuffer.data(), map.data(), map.size());
        m_audioFifo.push(m_soundBuffer);
        m_hasSounded = true;
        if (m_isFile) {
            m_lastFrameTime = m_clock.monotonicUs();
        }
    }
}

void Media::takePicture(SampleRef sample, std::int64_t now)
{
    m_lastFrameTime = now;
    if (m_frameCount == 0) {
        describeFirstPicture(sample);
    }
    readAlpha();
    m_sample = std::move(sample);
    if (++m_frameCount == 1) {
        static_cast<void>(frame()); // tells now of a size that no picture can have
    } else if (m_pictureDelay > 0) {
        holdBack(now);
    }
}

/// The picture that has just come waits.
void Media::holdBack(std::int64_t now)
{
    const FramePtr shown = m_frame;
    takeFrame(std::exchange(m_sample, {}));
    m_waiting.push_back({ now + m_pictureDelay, std::exchange(m_frame, shown) });
    showDue(); // nobody may look
}

void Media::showDue()
{
    const std::int64_t now = m_clock.monotonicUs();
    while (!m_waiting.empty() && (m_pictureDelay == 0 || m_waiting.front().dueUs <= now)) {
        m_frame = std::move(m_waiting.front().frame);
        m_waiting.pop_front();
    }
}

const FramePtr &Media::frame()
{
    if (m_sample) {
        takeFrame(std::exchange(m_sample, {}));
        m_waiting.clear(); // older ones
    } else {
        showDue();
    }
    return m_frame;
}

void Media::takeFrame(const SampleRef &sample)
{
    if (FramePtr whole = frameIn(gst_sample_get_buffer(sample.get()))) {
        m_frame = std::move(whole);
        return;
    }
    GstVideoInfo info;
    GstCaps *caps = gst_sample_get_caps(sample.get());
    if (caps == nullptr || gst_video_info_from_caps(&info, caps) == FALSE) {
        return;
    }
    const VideoFrameMap map(info, gst_sample_get_buffer(sample.get()));
    if (!map) {
        return;
    }
    try {
        auto frame = std::make_shared<Frame>(info.width,
            info.height,
            map.rows(),
            map.stride(),
            !m_hasAlpha);
        if (m_hasPadding) {
            makeOpaque(*frame);
        }
        m_frame = std::move(frame);
    } catch (const Error &error) {
        fail(error.message());
    }
}

void Media::describeFirstPicture(const SampleRef &sample)
{
    m_label += QStringLiteral(" primer cuadro caps=")
        + gst_build::text(gst_sample_get_caps(sample.get()));
    const auto pad = PadRef::adopt(gst_element_get_static_pad(m_parts.source.get(), "src"));
    if (pad) {
        const auto caps = CapsRef::adopt(gst_pad_get_current_caps(pad.get()));
        m_label += QStringLiteral(" fuente caps=") + gst_build::text(caps.get());
        const std::vector<DeviceMode> agreed = expandModes(caps.get(), {});
        m_agreedMode = agreed.empty() ? std::nullopt : std::optional(agreed.front());
    }
}

/// What the fourth byte of the RGBA picture is worth: the conversion passes on the padding of
/// formats such as BGRx, which a screen capture leaves at 0, as if it were alpha.
void Media::readAlpha()
{
    auto caps = CapsRef::adopt(gst_pad_get_current_caps(sinkPad(m_parts.pictureHead).get()));
    if (caps.get() == m_pictureCaps.get()) {
        return;
    }
    GstVideoInfo info;
    const bool known = caps && gst_video_info_from_caps(&info, caps.get()) != FALSE;
    m_receivedSize = known ? FrameSize { info.width, info.height } : FrameSize {};
    // The test bars may be drawn as RGBA from the start, and are opaque nevertheless.
    m_hasAlpha = !m_isTestBars && (!known || GST_VIDEO_INFO_HAS_ALPHA(&info));
    m_hasPadding
        = !m_hasAlpha && GST_VIDEO_INFO_IS_RGB(&info) && GST_VIDEO_INFO_COMP_PSTRIDE(&info, 0) == 4;
    m_pictureCaps = std::move(caps);
}

/// A file's end is plain to see; that of a network source would go by unseen.
void Media::end()
{
    m_ended = true;
    if (m_isNetwork) {
        m_hasKnownEnd = isClip(m_parts.pipeline.element());
        m_message = m_hasKnownEnd ? "El video de red terminó."
                                  : "La fuente de red terminó; se vuelve a abrir.";
    }
    deactivate();
}

void Media::fail(const Message &message)
{
    m_message = message;
    deactivate();
}

/// The pipeline stays as it is until its destruction, since stopping it may block; only its
/// messages, which nobody reads any more, are no longer kept.
void Media::deactivate()
{
    m_active = false;
    m_playback.freeSlot();
    gst_bus_set_flushing(m_parts.pipeline.bus(), TRUE);
}

} // namespace nimbara
