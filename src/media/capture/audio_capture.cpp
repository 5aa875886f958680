#include "media/capture/audio_capture.h"

#include "base/error.h"
#include "media/capture/device_pin.h"
#include "media/capture/media_service.h"
#include "media/gst/bus_error.h"
#include "media/gst/gst_build.h"
#include "media/gst/gst_maps.h"

#include <gst/app/gstappsink.h>
#include <gst/audio/audio.h>

#include <cstring>

namespace nimbara {

namespace {

using namespace gst_build;

constexpr int samplesPerPull = 8;
constexpr std::int64_t quietUs = 2'000'000;
constexpr std::int64_t lostUs = 5'000'000;
constexpr std::int64_t openingUs = 30'000'000;
constexpr std::size_t frameBytes = sizeof(float) * audioChannels;

Message refusedText()
{
    return "No se pudo iniciar audio";
}

ElementRef makeInput(GstDevice *device)
{
    if (device != nullptr) {
        auto input = ElementRef::sink(gst_device_create_element(device, "audio-input"));
        pinToDevice(input.get());
        reconnectToService(input.get(), device);
        return input;
    }
    auto tone = make("audiotestsrc", "audio-input");
    if (tone) {
        g_object_set(tone.get(),
            "is-live",
            TRUE,
            "volume",
            0.25,
            "samplesperbuffer",
            1024,
            nullptr);
    }
    return tone;
}

bool hasBlockFormat(GstSample *sample)
{
    GstAudioInfo info;
    GstCaps *caps = gst_sample_get_caps(sample);
    return caps != nullptr && gst_audio_info_from_caps(&info, caps) != FALSE
        && GST_AUDIO_INFO_FORMAT(&info) == GST_AUDIO_FORMAT_F32LE
        && GST_AUDIO_INFO_CHANNELS(&info) == audioChannels
        && GST_AUDIO_INFO_RATE(&info) == audioRate
        && GST_AUDIO_INFO_LAYOUT(&info) == GST_AUDIO_LAYOUT_INTERLEAVED;
}

AudioBlock copyBlock(const BufferMap &map, GstBuffer *buffer)
{
    AudioBlock block;
    block.samples.resize(map.size() / sizeof(float));
    std::memcpy(block.samples.data(), map.data(), map.size());
    block.pts = GST_BUFFER_PTS_IS_VALID(buffer) ? GST_BUFFER_PTS(buffer) : 0;
    return block;
}

} // namespace

AudioCapture::AudioCapture(const Clock &clock, GstDevice *device)
    : m_clock(clock)
    , m_pipeline("nimbara-audio")
{
    build(device);
    play(device != nullptr);
    m_running = true;
    m_begun = m_lastBufferTime = m_clock.monotonicUs();
}

void AudioCapture::build(GstDevice *device)
{
    const ElementRef input = makeInput(device);
    const ElementRef convert = make("audioconvert");
    const ElementRef resample = make("audioresample");
    const ElementRef filter = make("capsfilter");
    m_sink = make("appsink", "audio-blocks");
    if (!complete({ &input, &convert, &resample, &filter, &m_sink })) {
        throw Error(QStringLiteral("Faltan componentes de captura de audio"));
    }
    add(m_pipeline, { &input, &convert, &resample, &filter, &m_sink });
    setCaps(filter, audioBlockCaps());
    g_object_set(m_sink.get(),
        "max-buffers",
        static_cast<guint>(samplesPerPull),
        "drop",
        TRUE,
        "sync",
        FALSE,
        nullptr);
    if (!link({ &input, &convert, &resample, &filter, &m_sink })) {
        throw Error(QStringLiteral("No se pudo enlazar el dispositivo de audio"));
    }
    m_gather = BlockGather::atInputOf(m_sink, samplesPerPull);
}

void AudioCapture::play(bool isDevice)
{
    const bool refused = isDevice
        ? m_start.begin(m_pipeline, GST_STATE_PLAYING, PipelineStart::deviceMoment)
            == PipelineStart::Outcome::Refused
        : !m_pipeline.play();
    if (refused) {
        throw Error(refusedText());
    }
}

void AudioCapture::pull(const GainState &gainState)
{
    if (!m_running) {
        return;
    }
    const PipelineStart::Outcome start = m_start.poll();
    if (start == PipelineStart::Outcome::Refused) { // whatever the element says of it
        stop(refusedText());
        return;
    }
    if (start != PipelineStart::Outcome::Underway && takeBusMessage()) {
        return;
    }
    for (int taken = 0; taken < samplesPerPull; ++taken) {
        const auto sample
            = SampleRef::adopt(gst_app_sink_try_pull_sample(GST_APP_SINK_CAST(m_sink.get()), 0));
        if (!sample) {
            break;
        }
        m_gather->taken();
        if (!takeSample(sample.get(), gainState)) {
            return;
        }
    }
    watchSilence();
}

/// True when the input is over.
bool AudioCapture::takeBusMessage()
{
    const auto message = MessageRef::adopt(gst_bus_pop_filtered(m_pipeline.bus(),
        static_cast<GstMessageType>(GST_MESSAGE_ERROR | GST_MESSAGE_EOS)));
    if (!message) {
        return false;
    }
    Message reason = "La entrada de audio termino";
    if (GST_MESSAGE_TYPE(message.get()) == GST_MESSAGE_ERROR) {
        const GErrorPtr error = busError(message.get()).error;
        if (error && error->message != nullptr && *error->message != '\0') {
            reason = Message::verbatim(QString::fromUtf8(error->message));
        }
    }
    stop(reason);
    return true;
}

/// False when the capture stopped at this sample.
bool AudioCapture::takeSample(GstSample *sample, const GainState &gainState)
{
    if (!hasBlockFormat(sample)) {
        stop("Formato de audio inesperado");
        return false;
    }
    GstBuffer *buffer = gst_sample_get_buffer(sample);
    const BufferMap map(buffer);
    if (!map) {
        stop("No se pudo leer audio");
        return false;
    }
    if (map.size() == 0 || map.size() % frameBytes != 0) {
        stop("Bloque de audio invalido");
        return false;
    }
    const ProcessedBlock processed = processBlock(copyBlock(map, buffer), gainState);
    m_inputLevels = processed.input;
    m_outputLevels = processed.output;
    listener(processed.block);
    m_lastBufferTime = m_clock.monotonicUs();
    return true;
}

/// None is due before the device is open.
bool AudioCapture::isOpening()
{
    const std::int64_t now = m_clock.monotonicUs();
    if (m_start.poll() != PipelineStart::Outcome::Underway || now - m_begun > openingUs) {
        return false;
    }
    m_lastBufferTime = now;
    return true;
}

void AudioCapture::watchSilence()
{
    if (isOpening()) {
        return;
    }
    const std::int64_t silence = m_clock.monotonicUs() - m_lastBufferTime;
    if (silence > quietUs) {
        m_inputLevels = {};
        m_outputLevels = {};
    }
    if (silence > lostUs) {
        stop("Sin buffers de audio durante 5 segundos");
    }
}

void AudioCapture::stop(const Message &reason)
{
    m_error = reason;
    m_running = false;
    m_inputLevels = {};
    m_outputLevels = {};
    gst_bus_set_flushing(m_pipeline.bus(), TRUE);
}

} // namespace nimbara
