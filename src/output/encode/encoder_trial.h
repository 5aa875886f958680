#pragma once

#include "output/encode/encoders.h"
#include "signal/frame.h"

#include <chrono>

namespace nimbara {

/// What an encoder has to show before it is used.
struct TrialTask {
    FrameSize size { 1280, 720 };
    std::chrono::milliseconds limit { 5000 }; ///< from its making to the last picture
};

/// Encodes 30 pictures that all differ, decodes them and holds them against what was put in:
/// whether all came, in their order, alike, and in time. Waits for it: for a background task. Does
/// not throw.
bool passesTrial(const EncoderChoice &choice, const TrialTask &task = {});

} // namespace nimbara
