#pragma once

#include "signal/audio_block.h"

#include <cstdint>
#include <span>
#include <vector>

namespace nimbara {

/// Mono 16-bit samples at 16000 Hz.
using PhraseSamples = std::vector<std::int16_t>;

/// Cuts the voice input into phrases of about 1.2 to 5 seconds: at pauses, and at the quietest
/// place when nobody pauses for 5 seconds. Exact to the sample; pure. Counts are in samples of
/// 16000 Hz.
class Segmenter {
public:
    static constexpr std::int32_t rate = 16000;

    /// Takes one block of 48000 Hz stereo; returns the phrases that end in it, oldest first. What
    /// is mostly silence is no phrase and is dropped.
    std::vector<PhraseSamples> push(const AudioBlock &block);

    /// Ends the phrase being collected, because the audio that follows goes elsewhere: with every
    /// word, however short, and however long the silence around it. Empty when there is none.
    PhraseSamples flush();

    /// A phrase is being collected.
    [[nodiscard]] bool hasSpeech() const { return m_speechSeen; }

    /// Frames of 48000 Hz since the last cut: the phrase being collected, or silence.
    [[nodiscard]] std::size_t pendingFrames() const
    {
        return m_segment.size() * 3 + static_cast<std::size_t>(m_chunkCount);
    }

    /// Begins anew.
    void clear();

    /// Enough of the samples is voice: mean energy and one sample in five above their thresholds.
    static bool isSpeech(std::span<const std::int16_t> samples);

private:
    enum class Cut { None, Discard, AtPause, AtQuietest };

    void addSample(double v);
    [[nodiscard]] Cut decide() const;
    [[nodiscard]] std::size_t quietestPoint() const;
    PhraseSamples cutAt(std::size_t position, bool atPause);
    void rebuild();

    PhraseSamples m_segment;
    double m_chunkSum = 0;
    std::int32_t m_chunkCount = 0;
    std::vector<double> m_windowEnergies; ///< mean of each complete 10 ms window of the segment
    double m_windowSum = 0;
    std::int32_t m_silentRun = 0;
    std::int32_t m_voiced = 0;
    bool m_speechSeen = false;
};

} // namespace nimbara
