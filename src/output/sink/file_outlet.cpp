#include "base/error.h"
#include "output/encode/pipeline_parts.h"
#include "output/sink/outlet.h"

namespace nimbara {

namespace {

/// Nothing follows a write that failed, as on a full disk. It may have left a part of its block,
/// and space may come free again: what came after it would stand inside that block, and no player
/// nor mending could tell the two apart. A file that just ends is mended.
GstPadProbeReturn endAtFailure(GstPad *source, GstPadProbeInfo *info, gpointer)
{
    if (gst_pad_get_last_flow_return(source) != GST_FLOW_ERROR) {
        return GST_PAD_PROBE_OK;
    }
    gst_buffer_unref(GST_PAD_PROBE_INFO_BUFFER(info));
    GST_PAD_PROBE_INFO_DATA(info) = nullptr;
    GST_PAD_PROBE_INFO_FLOW_RETURN(info) = GST_FLOW_ERROR;
    return GST_PAD_PROBE_HANDLED;
}

} // namespace

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
    gst_pad_add_probe(padOf(muxer, "src").get(),
        GST_PAD_PROBE_TYPE_BUFFER,
        endAtFailure,
        nullptr,
        nullptr);
    return { ElementRef::retain(video),
        ElementRef::retain(audio),
        ElementRef::retain(sink),
        isMatroska ? Codecs::H264Aac : Codecs::Vp8Vorbis,
        parts.take() };
}

} // namespace nimbara
