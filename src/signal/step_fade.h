#pragma once

#include "signal/audio_block.h"

#include <array>
#include <cstdint>
#include <span>

namespace nimbara {

/// Left and right of one moment.
using StereoValue = std::array<float, audioChannels>;

/// Hides the step between two places of a stereo signal that do not meet: what follows starts at
/// the value before and glides back to itself. Silence counts as a signal, so that the same fade
/// ends a sound that breaks off and starts one that comes back.
class StepFade {
public:
    /// `length`: stereo frames, from 1; the default is 5 ms.
    explicit StepFade(std::size_t length = 240)
        : m_length(length)
    {
    }

    /// The next frame handed to `apply` follows `before`, and would be `after` without the fade. An
    /// earlier fade that is still under way ends; `before` has it in.
    void start(const StereoValue &before, const StereoValue &after);

    /// Adds what is left of the step to the next interleaved frames.
    void apply(std::span<float> values);

private:
    std::size_t m_length;
    StereoValue m_step {};
    std::size_t m_left = 0; ///< frames still to be faded
};

} // namespace nimbara
