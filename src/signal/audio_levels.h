#pragma once

#include "signal/audio_block.h"

#include <array>

namespace nimbara {

/// What the operator set for the input.
struct GainState {
    bool muted = false;
    double gain = 1.0; ///< linear, 0..2

    bool operator==(const GainState &) const = default;
};

/// Largest absolute value of one block, left and right.
struct AudioLevels {
    std::array<double, 2> peak {};
};

/// A block after gain and mute, with its levels before and after.
struct ProcessedBlock {
    AudioBlock block;
    AudioLevels input;
    AudioLevels output;
};

/// Applies gain and mute. Values that are not finite count as 0; the result is clamped to −1..1.
/// Throws `Error` "Bloque de audio incompleto" for an odd count and "Ganancia invalida" for a gain
/// that is not finite or outside 0..2.
ProcessedBlock processBlock(const AudioBlock &block, const GainState &gainState);

/// Meter position of a peak: −60 dBFS or less is 0, 0 dBFS is 100, truncated. Above 0 dBFS it goes
/// on beyond 100; a bar clamps it.
int meterValue(double peak);

} // namespace nimbara
