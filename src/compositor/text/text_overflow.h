#pragma once

#include "compositor/text/text_block.h"
#include "document/layer.h"
#include "signal/frame.h"

#include <cstdint>

namespace nimbara {

/// How many lines of a text, verse or subtitle layer its box is too low to show in a frame of the
/// size; 0 when all are seen. Needs the application's fonts.
std::int32_t hiddenLines(const Layer &layer, FrameSize frame, const RaisedNumbers &numbers = {});

/// The block's texts fit their areas, each for itself.
bool fitsItsAreas(const TextBlock &block);

/// The height of the block's wrapped texts one below the other, in pixels.
double textHeight(const TextBlock &block);

} // namespace nimbara
