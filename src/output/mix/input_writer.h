#pragma once

#include "signal/audio_block.h"
#include "signal/step_fade.h"

#include <cstdint>
#include <span>
#include <vector>

namespace nimbara {

/// Appends the blocks of one capture to its FIFO. Where blocks are missing between two (the capture
/// lets its oldest go when nobody reads for a while), or their gains differ, the seam is faded, so
/// that it does not click later, when the FIFO is read. Interface thread only.
class InputWriter {
public:
    void append(AudioFifo &fifo, const AudioBlock &block) { fifo.push(faded(block)); }
    /// The values that would be appended, to be changed before they are; valid until the next call.
    std::span<float> faded(const AudioBlock &block);

    /// The next block has another gain than the last.
    void expectStep() { m_stepExpected = true; }

private:
    std::uint64_t m_nextPts = 0; ///< ns; 0: unknown
    bool m_stepExpected = false;
    StereoValue m_last {};
    StepFade m_fade;
    std::vector<float> m_values;
};

} // namespace nimbara
