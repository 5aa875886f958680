#include "output/encode/output_pipeline.h"

#include "base/error.h"
#include "media/gst/gst_build.h"
#include "output/encode/audio_timeline.h"
#include "output/encode/encoders.h"
#include "output/encode/sound_probe.h"

#include <gst/app/gstappsrc.h>

#include <initializer_list>

namespace nimbara {

namespace {

constexpr std::int32_t maxSide = 4096;
constexpr std::int32_t minBitrate = 500'000;
constexpr std::int32_t maxBitrate = 20'000'000;
constexpr guint64 inputMaxTime = 500'000'000; // ns
constexpr guint64 videoQueueMaxTime = 1'000'000'000; // ns
/// ns; how long the stream muxer waits for the other of picture and sound. Out of patience it sends
/// what it has, and gives what comes next a later time than its own: sound and picture stutter. A
/// stall of the program must not use it up, as long as the sound of the stall is made up for.
constexpr guint64 muxerPatience = AudioTimeline::longestFill / audioRate * GST_SECOND;

void checkProfile(const OutputProfile &profile)
{
    const auto valid = [](std::int32_t side) { return side >= 1 && side <= maxSide; };
    if (!valid(profile.width) || !valid(profile.height) || profile.bitrate < minBitrate
        || profile.bitrate > maxBitrate) {
        throw Error(QStringLiteral("Perfil de salida invalido"));
    }
}

/// The sink finds application and key behind the host. It would log any other location whole.
bool namesStream(const QString &location)
{
    const qsizetype host = location.indexOf(QLatin1String("://")) + 3;
    return location.indexOf(QLatin1Char('/'), host) != location.lastIndexOf(QLatin1Char('/'))
        && !location.endsWith(QLatin1Char('/'));
}

CapsRef capsOf(const QString &text)
{
    return CapsRef::adopt(gst_caps_from_string(text.toLatin1().constData()));
}

/// Builds the pipeline element by element. Everything that is made belongs to the pipeline, so an
/// error on the way releases it.
class Builder {
public:
    explicit Builder(const OutputProfile &profile)
        : m_profile(profile)
    {
    }

    OutputPipeline build()
    {
        makeVideo();
        makeAudio();
        m_muxer = make(m_profile.isStream ? "flvmux" : "webmmux");
        m_sink = make(m_profile.isStream ? "rtmp2sink" : "filesink");
        if (m_profile.isStream) {
            configureStream();
        } else {
            configureRecording();
        }
        linkAll();
        return { ElementRef::retain(m_videoSrc),
            ElementRef::retain(m_audioSrc),
            ElementRef::retain(m_videoEncoder),
            m_profile.isStream ? StreamEnd(m_sink) : StreamEnd(),
            m_profile.isStream ? StallWatch(m_sink) : StallWatch(),
            std::move(m_pipeline) };
    }

private:
    GstElement *make(const char *factory) const
    {
        GstElement *element = gst_element_factory_make(factory, nullptr);
        if (element == nullptr) {
            throw Error("Componente no disponible: " + Message::verbatim(QLatin1String(factory)));
        }
        gst_bin_add(m_pipeline.bin(), element);
        return element;
    }

    [[nodiscard]] GstElement *makeFilter(const CapsRef &caps) const
    {
        GstElement *filter = make("capsfilter");
        g_object_set(filter, "caps", caps.get(), nullptr);
        return filter;
    }

    /// When the input is full the oldest data goes: pushing never waits.
    [[nodiscard]] GstElement *makeInput(const CapsRef &caps, guint64 maxBuffers) const
    {
        GstElement *source = make("appsrc");
        g_object_set(source,
            "caps",
            caps.get(),
            "is-live",
            TRUE,
            "format",
            GST_FORMAT_TIME,
            "block",
            FALSE,
            "max-buffers",
            maxBuffers,
            "max-bytes",
            guint64 { 0 },
            "max-time",
            inputMaxTime,
            "leaky-type",
            GST_APP_LEAKY_TYPE_DOWNSTREAM,
            nullptr);
        return source;
    }

    void makeVideo()
    {
        const QString caps
            = QStringLiteral("video/x-raw, format=RGBA, width=%1, height=%2, framerate=30/1");
        m_videoSrc = makeInput(capsOf(caps.arg(m_profile.width).arg(m_profile.height)), 3);
        m_videoConvert = make("videoconvert");
        const EncoderChoice &choice = firstAvailable(videoEncoders(m_profile.isStream));
        m_videoFilter = makeFilter(
            capsOf(QStringLiteral("video/x-raw, format=") + QLatin1String(choice.inputFormat)));
        m_videoEncoder = make(choice.factory);
        choice.configure(G_OBJECT(m_videoEncoder), m_profile.bitrate);
        m_videoQueue = make("queue");
        g_object_set(m_videoQueue, "max-size-time", videoQueueMaxTime, nullptr);
    }

    void makeAudio()
    {
        m_audioSrc = makeInput(gst_build::audioBlockCaps(), 32);
        keepSoundWhole(m_audioSrc);
        m_audioConvert = make("audioconvert");
        m_audioResample = make("audioresample");
        const EncoderChoice &choice = firstAvailable(audioEncoders(m_profile.isStream));
        m_audioEncoder = make(choice.factory);
        choice.configure(G_OBJECT(m_audioEncoder), m_profile.bitrate);
        m_soundDelay = gst_util_uint64_scale(choice.leadFrames, GST_SECOND, audioRate);
        m_audioQueue = make("queue");
    }

    void configureStream() const
    {
        if (!m_profile.location.startsWith(QLatin1String("rtmps://"))
            && !m_profile.location.startsWith(QLatin1String("rtmp://"))) {
            throw Error(QStringLiteral("Destino debe usar RTMP o RTMPS"));
        }
        if (!namesStream(m_profile.location)) {
            throw Error(QStringLiteral("No se pudo iniciar salida"));
        }
        g_object_set(m_muxer, "streamable", TRUE, "latency", muxerPatience, nullptr);
        g_object_set(m_sink,
            "location",
            m_profile.location.toUtf8().constData(),
            "sync",
            FALSE,
            "async-connect",
            FALSE,
            nullptr);
    }

    void configureRecording() const
    {
        if (m_profile.location.isEmpty()) {
            throw Error(QStringLiteral("Selecciona archivo de grabacion"));
        }
        g_object_set(m_sink,
            "location",
            m_profile.location.toUtf8().constData(),
            "sync",
            FALSE,
            "buffer-mode",
            2, // unbuffered: what is recorded survives the end of the process
            nullptr);
    }

    void linkAll()
    {
        link({ m_videoSrc, m_videoConvert, m_videoFilter, m_videoEncoder });
        link({ m_audioSrc, m_audioConvert, m_audioResample, m_audioEncoder });
        if (m_profile.isStream) {
            GstElement *parse = make("h264parse");
            GstElement *filter = makeFilter(
                capsOf(QStringLiteral("video/x-h264, stream-format=avc, alignment=au")));
            link({ m_videoEncoder, parse, filter, m_videoQueue });
            link({ m_audioEncoder, make("aacparse"), m_audioQueue });
        } else {
            link({ m_videoEncoder, m_videoQueue });
            link({ m_audioEncoder, m_audioQueue });
        }
        // The receiver hears the lead as sound, so everything comes late by it; so does the
        // picture.
        gst_pad_set_offset(PadRef::adopt(gst_element_get_static_pad(m_videoQueue, "src")).get(),
            static_cast<gint64>(m_soundDelay));
        link({ m_videoQueue, m_muxer });
        link({ m_audioQueue, m_muxer, m_sink });
    }

    static void link(std::initializer_list<GstElement *> chain)
    {
        for (const auto *next = chain.begin() + 1; next != chain.end(); ++next) {
            if (!gst_element_link(*(next - 1), *next)) {
                throw Error(QStringLiteral("No se pudieron enlazar codecs/salida"));
            }
        }
    }

    const OutputProfile &m_profile;
    Pipeline m_pipeline { "nimbara-output" };
    guint64 m_soundDelay = 0; ///< ns
    GstElement *m_videoSrc = nullptr; // all borrowed from the pipeline
    GstElement *m_videoConvert = nullptr;
    GstElement *m_videoFilter = nullptr;
    GstElement *m_videoEncoder = nullptr;
    GstElement *m_videoQueue = nullptr;
    GstElement *m_audioSrc = nullptr;
    GstElement *m_audioConvert = nullptr;
    GstElement *m_audioResample = nullptr;
    GstElement *m_audioEncoder = nullptr;
    GstElement *m_audioQueue = nullptr;
    GstElement *m_muxer = nullptr;
    GstElement *m_sink = nullptr;
};

} // namespace

OutputPipeline buildOutputPipeline(const OutputProfile &profile)
{
    checkProfile(profile);
    return Builder(profile).build();
}

} // namespace nimbara
