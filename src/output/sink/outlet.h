#pragma once

#include "media/gst/gst_handles.h"
#include "output/encode/encoder_pipeline.h"

#include <QString>

namespace nimbara {

/// The pipeline "nimbara-output", not started yet: a muxer and a sink with the two inputs of an
/// `OutletInput`. Another way out is one more function like these.
struct Outlet {
    ElementRef videoSrc;
    ElementRef audioSrc;
    ElementRef sink;
    Codecs codecs = Codecs::H264Aac; ///< what it takes
    Pipeline pipeline;
};

/// FLV over RTMP or RTMPS. `location`: the full URL, which ends in the stream key. Throws `Error`
/// with the operator's text.
Outlet buildRtmpOutlet(const QString &location);

/// A file: Matroska where its name ends in ".mkv", else WebM. Throws as above.
Outlet buildFileOutlet(const QString &path);

} // namespace nimbara
