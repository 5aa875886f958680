#pragma once

#include "signal/audio_block.h"

#include <cstdint>
#include <vector>

namespace nimbara {

/// Finds a microphone that comes in so low that no word counts as voice: sound that stands out from
/// its own noise, as speech does, and stays below the voice's threshold for 20 s. Steady noise of a
/// room, silence and the pauses of a speaker are no such sound; a minute of noises now and then
/// is none, either. Pure; belongs to one thread.
class QuietVoice {
public:
    /// Takes one block of 48000 Hz stereo, after gain and mute. Returns whether `isQuiet` has
    /// changed.
    bool push(const AudioBlock &block);

    /// Somebody speaks and is not heard; until voice is.
    [[nodiscard]] bool isQuiet() const { return m_isQuiet; }

    /// Begins anew.
    void clear();

private:
    void addSample(double v);
    void endWindow();
    void endStretch();
    [[nodiscard]] bool hasSound() const;

    double m_sum = 0; ///< of the samples at 48000 Hz that make one at 16000 Hz
    int m_count = 0; ///< the same
    double m_energy = 0; ///< of the window, added up
    int m_samples = 0; ///< of the window, at 16000 Hz
    std::vector<double> m_windows; ///< mean energies of the stretch
    std::int32_t m_voiced = 0; ///< samples of the stretch that count as voice
    int m_quietStretches = 0; ///< the newest; one without sound takes one away
    bool m_isQuiet = false;
};

} // namespace nimbara
