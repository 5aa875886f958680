#pragma once

#include "signal/audio_block.h"
#include "signal/step_fade.h"

#include <cstdint>
#include <span>
#include <vector>

namespace nimbara {

/// Lays the blocks of one output end to end on its time line.
///
/// Encoders count samples and look at time stamps only when both are far apart; then time jumps
/// back or leaves a hole, which breaks streams and editors. Two things would drive them apart:
/// frame slots that were skipped after a stall, and the frame schedule, whose 33,333 µs are 10
/// millionths shorter than 1600 samples. So holes are filled with silence, whose edges are faded,
/// and a frame of sound is left out whenever the sound is one ahead, every two seconds.
class AudioTimeline {
public:
    /// Stereo frames; a hole that is longer stays one (30 s).
    static constexpr std::int64_t longestFill = 30LL * audioRate;

    struct Piece {
        std::span<const float> values; ///< valid until the next call
        std::uint64_t pts = 0; ///< ns
    };

    /// What to encode so that `block` sounds at `pts` (ns): less than a stereo frame away from it.
    Piece place(std::span<const float> block, std::uint64_t pts);

private:
    void append(std::span<const float> block, bool faded);
    void startAt(std::uint64_t pts);

    bool m_started = false;
    std::uint64_t m_base = 0; ///< ns; time of frame 0
    std::uint64_t m_frames = 0; ///< stereo frames laid since then
    StereoValue m_last {};
    StepFade m_fade;
    std::vector<float> m_values;
};

} // namespace nimbara
