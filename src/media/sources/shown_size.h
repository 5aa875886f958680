#pragma once

#include "signal/frame.h"
#include "signal/picture_box.h"

#include <vector>

namespace nimbara {

/// The size in square pixels of a picture stored as `stored` whose pixels are `wide` times as wide
/// as they are high. No pixel of it is lost: one side stays, the other grows. Sides below 1 are
/// unknown, and so is the result.
FrameSize squareSize(FrameSize stored, double wide);

/// The size at which the picture needs no more scaling where it is shown largest: whole, in the
/// shape of `natural` but for less than a pixel, which is never missing at the edge of a box. It is
/// never larger than `Frame::maxSide` a side nor has it more pixels than four frames of 1920 ×
/// 1080, since what lies outside a box is thrown away. `boxes` must not be empty.
FrameSize shownSize(FrameSize natural, const std::vector<PictureBox> &boxes);

} // namespace nimbara
