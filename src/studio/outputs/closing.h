#pragma once

#include "output/sink/recording.h"

#include <QDeadlineTimer>

#include <functional>
#include <optional>

namespace nimbara {

/// Finishes the recording before the program ends: waits for its file, and for what `isSaving` says
/// is on its way, no longer than the deadline. Events other than the operator's input are handled
/// meanwhile. Gives what the operator must know: why the recording is not whole. Call it when no
/// tick runs any more.
std::optional<Message>
finishOutputs(Recording &recording, const std::function<bool()> &isSaving, QDeadlineTimer deadline);

} // namespace nimbara
