#pragma once

#include <gst/gst.h>

namespace nimbara {

/// What encoders leave to the rest of the studio: their threads are this much nicer (nice(2)), so
/// that the frame clock and the sound keep their turn on a machine that has too much to do.
constexpr int encoderNiceness = 4;

/// From now on the tasks of the elements on `bus`, and the threads that those start in turn, get
/// threads of their own with that niceness. Call before the pipeline starts.
///
/// GStreamer's usual threads go back to a pool that all pipelines share, and a thread cannot take
/// its niceness back without privileges.
void giveWayToOthers(GstBus *bus);

} // namespace nimbara
