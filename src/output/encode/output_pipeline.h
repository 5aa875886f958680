#pragma once

#include "media/gst/gst_handles.h"
#include "output/encode/stall_watch.h"
#include "output/encode/stream_end.h"

#include <QString>

#include <cstdint>

namespace nimbara {

/// What an output pipeline is built from; the values as in `Output`'s constructor.
struct OutputProfile {
    std::int32_t width = 0;
    std::int32_t height = 0;
    bool isStream = false;
    QString location;
    std::int32_t bitrate = 0; ///< bit/s
};

/// A pipeline that is not started yet, with its two inputs.
struct OutputPipeline {
    ElementRef videoSrc;
    ElementRef audioSrc;
    ElementRef videoEncoder;
    StreamEnd streamEnd;
    StallWatch stallWatch;
    Pipeline pipeline;
};

/// Builds the pipeline "nimbara-output". Throws `Error` with the operator's text: a size or bit
/// rate out of range, a component that is missing, a location of the wrong kind, links that fail.
OutputPipeline buildOutputPipeline(const OutputProfile &profile);

} // namespace nimbara
