#pragma once

#include "signal/frame.h"

#include <gst/video/video.h>

namespace nimbara {

/// The frame as planar 4:2:0 (I420) with the matrix of `to`'s colours, in studio range, its chroma
/// sited as in MPEG-2: what `GstVideoConverter` gives, at a third of the cost. `to`: mapped for
/// writing, of the frame's size. Any thread.
void convertToI420(const Frame &frame, GstVideoFrame &to);

} // namespace nimbara
