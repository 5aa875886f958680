#pragma once

#include "media/gst/gst_handles.h"

#include <QString>

#include <cstdint>
#include <initializer_list>

namespace nimbara {

/// Builds a pipeline element by element. Everything that is made belongs to the pipeline, so an
/// error on the way releases it. All throw `Error` with the operator's text.
class PipelineParts {
public:
    explicit PipelineParts(const char *name)
        : m_pipeline(name)
    {
    }

    /// The element is borrowed from the pipeline. Without a name GStreamer gives one; a source's is
    /// that of its thread.
    GstElement *make(const char *factory, const char *name = nullptr) const;
    [[nodiscard]] GstElement *makeFilter(const QString &caps) const;
    /// An input that the program's ticks fill ("appsrc"); time stamps are those of its buffers.
    [[nodiscard]] GstElement *makeInput(const char *name = nullptr) const;
    /// A queue without another limit than `most` buffers; 0: none at all.
    [[nodiscard]] GstElement *makeQueue(guint most, const char *name = nullptr) const;
    /// An output into a file, over one that exists. What has come to it survives the end of the
    /// process.
    [[nodiscard]] GstElement *makeFileSink(const QString &path) const;
    static void link(std::initializer_list<GstElement *> chain);
    /// An input that has no caps yet with the muxer's pad for its kind.
    static void link(GstElement *input, GstElement *muxer, const char *pad);

    /// The whole pipeline, not started yet. Nothing can be made afterwards.
    [[nodiscard]] Pipeline take() { return std::move(m_pipeline); }

private:
    Pipeline m_pipeline;
};

CapsRef capsOf(const QString &text);
/// The element's only input or output. Never none.
PadRef padOf(GstElement *element, const char *name);

} // namespace nimbara
