#pragma once

#include "signal/audio_block.h"
#include "signal/splice.h"
#include "signal/step_fade.h"

#include <cstdint>
#include <optional>
#include <span>

namespace nimbara {

/// Reads a live FIFO block by block and keeps its sound with the picture.
///
/// A FIFO that a capture or a decoder fills and the frame clock drains grows when frame slots were
/// skipped or the device's clock is fast, and runs dry when the device's clock is slow. What stays
/// in it after every block is lag. The guard takes the smallest such rest over 0.4 s (a decoded
/// block may arrive as a whole, so the depth alone is no lag), cuts it down when it is over
/// `maxLag`, and stretches the sound a little before the FIFO runs dry. Either is one cross-fade
/// between two places of the signal that are alike. Where the sound really breaks off, comes back
/// or changes its source, the step is faded. A FIFO that behaves is read value for value.
///
/// Interface thread only.
class LagGuard {
public:
    static constexpr std::size_t maxLag = 2160; ///< stereo frames (45 ms) that may rest
    static constexpr std::size_t targetLag = 720; ///< stereo frames (15 ms) left by a cut

    static constexpr std::uint64_t longestGap
        = 48000; ///< stereo frames; longer is no gap but silence

    /// What was done to the sound, in stereo frames.
    struct Report {
        std::uint64_t dropped = 0; ///< cut out to catch up with the picture
        std::uint64_t stretched = 0; ///< added before the FIFO ran dry
        std::uint64_t silent = 0; ///< in gaps of at most `longestGap`
        [[nodiscard]] bool empty() const { return dropped + stretched + silent == 0; }
    };

    /// Fills `into` (an even count of values) from `fifo`, or with silence where there is none. A
    /// FIFO other than the one of the call before is a change of source: sound that has been
    /// waiting unread in it is skipped. No FIFO gives silence.
    void take(AudioFifo *fifo, std::span<float> into);

    /// Returns what has been done since the last call and starts anew. The owner logs it at most
    /// once a minute.
    Report takeReport();

private:
    void changeSource(AudioFifo *fifo, std::size_t blockFrames);
    std::optional<splicing::Splice> plannedSplice(const AudioFifo &fifo, std::size_t blockFrames);
    void readPlain(AudioFifo *fifo, std::span<float> into);
    void countGap(std::size_t soundFrames, std::size_t silentFrames);
    void observe(std::size_t rest);
    void startWindow();

    const AudioFifo *m_source = nullptr; ///< for comparison alone
    StepFade m_fade;
    StereoValue m_last {}; ///< last values given out
    bool m_flowing = false; ///< the last values came from a FIFO
    bool m_seam = false; ///< the next values come from another FIFO than the last
    std::size_t m_windowBlocks = 0;
    std::size_t m_smallestRest = 0; ///< of the current window, stereo frames
    std::size_t m_excess = 0; ///< stereo frames to be cut out
    std::uint64_t m_gap = longestGap + 1; ///< silent frames since the sound broke off
    Report m_report;
};

} // namespace nimbara
