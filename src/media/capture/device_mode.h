#pragma once

#include "media/gst/gst_handles.h"
#include "signal/frame.h"

namespace nimbara {

/// The mode to ask of a capture device for a picture of `target`: "video/x-raw", with the width and
/// height of the offered mode that suits best, or bare when none is known.
///
/// Of each offered structure that is raw video in system memory with one definite size, the score
/// is 10 × (1 − min(|w/h − A| / A, 1)) + (1 − min(|w·h / S − 1|, 1)) for the target's aspect A and
/// area S: a fitting shape outweighs a fitting size. The first of the highest score wins. The frame
/// rate is left to the device. `offered` may be null.
CapsRef pickDeviceMode(const GstCaps *offered, FrameSize target);

/// The same for what the device offers; bare caps without a device.
CapsRef pickDeviceMode(GstDevice *device, FrameSize target);

} // namespace nimbara
