#pragma once

#include "media/gst/gst_handles.h"

#include <cstdint>

namespace nimbara {

/// Lets pictures of at most that many pixels a side pass from `scaler` (a videoscale) to `filter`
/// (a capsfilter behind it) untouched, and makes larger ones smaller in their own shape.
///
/// Left to itself the scaler would take on the shape that is wanted at the end of the pipeline,
/// before a turn that the pictures carry is known. Call before data flows; the size is chosen on
/// the streaming thread, whenever the decoder's format changes.
void boundPictures(const ElementRef &scaler, const ElementRef &filter, std::int32_t longestSide);

} // namespace nimbara
