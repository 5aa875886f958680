#include "base/error.h"
#include "output/encode/pipeline_parts.h"
#include "output/sink/outlet.h"

namespace nimbara {

Outlet buildFileOutlet(const QString &path)
{
    if (path.isEmpty()) {
        throw Error(QStringLiteral("Selecciona archivo de grabacion"));
    }
    const bool isMatroska = path.endsWith(QLatin1String(".mkv"), Qt::CaseInsensitive);
    PipelineParts parts("nimbara-output");
    GstElement *video = parts.makeInput();
    GstElement *audio = parts.makeInput();
    GstElement *muxer = parts.make(isMatroska ? "matroskamux" : "webmmux");
    GstElement *sink = parts.makeFileSink(path);
    PipelineParts::link(video, muxer, "video_%u");
    PipelineParts::link(audio, muxer, "audio_%u");
    PipelineParts::link({ muxer, sink });
    return { ElementRef::retain(video),
        ElementRef::retain(audio),
        ElementRef::retain(sink),
        isMatroska ? Codecs::H264Aac : Codecs::Vp8Vorbis,
        parts.take() };
}

} // namespace nimbara
