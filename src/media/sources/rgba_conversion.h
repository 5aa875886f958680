#pragma once

#include "signal/frame.h"

#include <gst/video/video.h>

namespace nimbara {

/// Whether `convertToRgba` knows such pictures: YUY2, NV12, I420 and Y42B, not interlaced, of a
/// colour matrix that has its weights, in studio or full range.
bool convertsToRgba(const GstVideoInfo &info);

/// The picture as opaque RGBA: what `GstVideoConverter` gives but for two steps of 255, at a
/// fraction of the cost. `from`: mapped for reading, of `to`'s size and such that
/// `convertsToRgba`. Every byte of `to` is written. Any thread.
void convertToRgba(const GstVideoFrame &from, Frame &to);

} // namespace nimbara
