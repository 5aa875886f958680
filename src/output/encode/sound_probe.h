#pragma once

#include <gst/gst.h>

namespace nimbara {

/// Lays what leaves `source` (an element with one source pad, interleaved stereo float at 48 kHz)
/// end to end, as `AudioTimeline` says. On the element's streaming thread, so that sound which a
/// full queue has let go counts as a hole too.
void keepSoundWhole(GstElement *source);

} // namespace nimbara
