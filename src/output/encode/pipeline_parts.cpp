#include "output/encode/pipeline_parts.h"

#include "base/error.h"

namespace nimbara {

GstElement *PipelineParts::make(const char *factory, const char *name) const
{
    GstElement *element = gst_element_factory_make(factory, name);
    if (element == nullptr) {
        throw Error("Componente no disponible: " + Message::verbatim(QLatin1String(factory)));
    }
    gst_bin_add(m_pipeline.bin(), element);
    return element;
}

GstElement *PipelineParts::makeFilter(const QString &caps) const
{
    GstElement *filter = make("capsfilter");
    g_object_set(filter, "caps", capsOf(caps).get(), nullptr);
    return filter;
}

GstElement *PipelineParts::makeQueue(guint most, const char *name) const
{
    GstElement *queue = make("queue", name);
    g_object_set(queue,
        "max-size-buffers",
        most,
        "max-size-bytes",
        0U,
        "max-size-time",
        guint64 { 0 },
        nullptr);
    return queue;
}

GstElement *PipelineParts::makeInput(const char *name) const
{
    GstElement *source = make("appsrc", name);
    g_object_set(source,
        "is-live",
        TRUE,
        "format",
        GST_FORMAT_TIME,
        "block",
        FALSE,
        "max-buffers",
        guint64 { 0 },
        "max-bytes",
        guint64 { 0 },
        "max-time",
        guint64 { 0 },
        nullptr);
    return source;
}

GstElement *PipelineParts::makeFileSink(const QString &path) const
{
    constexpr int unbuffered = 2;
    GstElement *sink = make("filesink");
    g_object_set(sink,
        "location",
        path.toUtf8().constData(),
        "sync",
        FALSE,
        "buffer-mode",
        unbuffered,
        nullptr);
    return sink;
}

void PipelineParts::link(std::initializer_list<GstElement *> chain)
{
    for (const auto *next = chain.begin() + 1; next != chain.end(); ++next) {
        if (!gst_element_link(*(next - 1), *next)) {
            throw Error(QStringLiteral("No se pudieron enlazar codecs/salida"));
        }
    }
}

void PipelineParts::link(GstElement *input, GstElement *muxer, const char *pad)
{
    if (!gst_element_link_pads(input, "src", muxer, pad)) {
        throw Error(QStringLiteral("No se pudieron enlazar codecs/salida"));
    }
}

CapsRef capsOf(const QString &text)
{
    return CapsRef::adopt(gst_caps_from_string(text.toLatin1().constData()));
}

PadRef padOf(GstElement *element, const char *name)
{
    return PadRef::adopt(gst_element_get_static_pad(element, name));
}

} // namespace nimbara
