#pragma once

#include "output/sink/recording.h"
#include "studio/outputs/stream_desk.h"

#include <QDeadlineTimer>

#include <optional>

namespace nimbara {

/// Finishes the recording before the program ends: waits for its file, and for the keys that are on
/// their way to the store, no longer than the deadline. Events other than the operator's input are
/// handled meanwhile. Gives what the operator must know: why the recording is not whole. Call it
/// when no tick runs any more.
std::optional<Message>
finishOutputs(Recording &recording, const StreamDesk &streams, QDeadlineTimer deadline);

} // namespace nimbara
