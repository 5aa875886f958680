#include "base/error.h"
#include "output/encode/audio_timeline.h"
#include "output/encode/pipeline_parts.h"
#include "output/sink/outlet.h"
#include "output/sink/stream_sockets.h"

namespace nimbara {

namespace {

/// ns; how long the muxer waits for the other of picture and sound. Out of patience it sends what
/// it has, and gives what comes next a later time than its own: sound and picture stutter. A stall
/// of the program must not use it up, as long as the sound of the stall is made up for.
constexpr guint64 muxerPatience = AudioTimeline::longestFill / audioRate * GST_SECOND;

/// The sink finds application and key behind the host. It would log any other location whole.
bool namesStream(const QString &location)
{
    const qsizetype host = location.indexOf(QLatin1String("://")) + 3;
    return location.indexOf(QLatin1Char('/'), host) != location.lastIndexOf(QLatin1Char('/'))
        && !location.endsWith(QLatin1Char('/'));
}

void checkLocation(const QString &location)
{
    if (!location.startsWith(QLatin1String("rtmps://"))
        && !location.startsWith(QLatin1String("rtmp://"))) {
        throw Error(QStringLiteral("Destino debe usar RTMP o RTMPS"));
    }
    if (!namesStream(location)) {
        throw Error(QStringLiteral("No se pudo iniciar salida"));
    }
}

} // namespace

Outlet buildRtmpOutlet(const QString &location)
{
    checkLocation(location);
    stream_sockets::watch(location);
    PipelineParts parts("nimbara-output");
    GstElement *video = parts.makeInput();
    GstElement *audio = parts.makeInput();
    GstElement *muxer = parts.make("flvmux");
    GstElement *sink = parts.make("rtmp2sink");
    g_object_set(muxer, "streamable", TRUE, "latency", muxerPatience, nullptr);
    g_object_set(sink,
        "location",
        location.toUtf8().constData(),
        "sync",
        FALSE,
        "async-connect",
        FALSE,
        nullptr);
    PipelineParts::link(video, muxer, "video");
    PipelineParts::link(audio, muxer, "audio");
    PipelineParts::link({ muxer, sink });
    return { ElementRef::retain(video),
        ElementRef::retain(audio),
        ElementRef::retain(sink),
        Codecs::H264Aac,
        parts.take() };
}

} // namespace nimbara
