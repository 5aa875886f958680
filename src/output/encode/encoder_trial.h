#pragma once

#include "output/encode/encoders.h"
#include "signal/frame.h"

#include <chrono>

namespace nimbara {

/// What an encoder has to show before it is used.
struct TrialTask {
    FrameSize size { 1920, 1080 }; ///< that of the programs
    std::chrono::milliseconds pace { 1000 }; ///< from its first encoded picture to its last
    std::chrono::milliseconds limit { 10'000 }; ///< for all, from its making to the last comparison
};

/// Encodes a second of pictures in which neighbours differ, decodes them and holds them against
/// what was put in: whether all came, in their order, alike, and in time. Waits for it: for a
/// background task. Does not throw.
bool passesTrial(const EncoderChoice &choice, const TrialTask &task = {});

} // namespace nimbara
