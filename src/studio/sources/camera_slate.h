#pragma once

#include "signal/frame.h"

#include <QString>

namespace nimbara {

/// What a layer shows of a camera that is not there: its name on a plain dark ground, 1280 × 720.
/// Interface thread only.
FramePtr cameraSlate(const QString &name);

} // namespace nimbara
