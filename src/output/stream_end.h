#pragma once

#include "media/gst_handles.h"

namespace nimbara {

/// Makes an "rtmp2sink" ready to be stopped: nothing more is sent, and a connection that is being
/// opened gets the server's answer first, or a failure, or a few seconds.
///
/// The sink loses track of a connection that it is told to stop while the server's answer is still
/// under way: the socket then stays open until the process ends, and the server may go on holding
/// the stream's name, so that the next start under the same key is refused.
///
/// Waits, so it belongs on a background task. `bus`: of the sink's pipeline; errors are read off
/// it.
void endStream(GstElement *sink, GstBus *bus);

} // namespace nimbara
