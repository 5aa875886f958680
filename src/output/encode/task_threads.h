#pragma once

#include <gst/gst.h>

namespace nimbara {

/// Whose turn it is on a machine that has too much to do.
enum class ThreadTurn {
    AfterOthers, ///< of work that can wait: nicer (nice(2)) than the rest of the studio
    /// The same, until the frame clock has its turn before other programs; from then on before
    /// those too, but after it (`letEncodersKeepTheirTurn`).
    Encoder
};

/// From now on the tasks of the elements on `bus`, and the threads that those start in turn, get
/// threads of their own with that turn. Call before the pipeline starts.
///
/// GStreamer's usual threads go back to a pool that all pipelines share, and a thread cannot take
/// its niceness back without privileges.
void setThreadTurn(GstBus *bus, ThreadTurn turn);

/// The frame clock and the sound keep their turn whatever encoders take: those that begin from now
/// on ask for theirs (`askForPriority`). From any thread.
void letEncodersKeepTheirTurn();

} // namespace nimbara
