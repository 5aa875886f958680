#pragma once

#include "signal/audio_block.h"

#include <QByteArray>
#include <QString>

#include <cstdint>
#include <vector>

namespace nimbara {

/// The audio side of a live session: 48000 Hz stereo becomes 24000 Hz mono 16-bit with automatic
/// gain, and pauses in it end phrases. Counts are in samples of 24000 Hz. Pure.
class LiveAudio {
public:
    /// Converts one block. Returns whether a voiced sample was in it.
    bool push(const AudioBlock &block);

    /// 100 ms or more wait to be sent.
    [[nodiscard]] bool isChunkReady() const { return m_pcmOut.size() >= 2400; }

    /// Takes all that waits, as little-endian 16-bit samples; empty when nothing waits.
    QByteArray takeChunk();

    /// Whether the phrase ends here: by silence, by punctuation at the end of the partial text with
    /// a short pause, or by length.
    [[nodiscard]] bool isPhraseEnd(const QString &partialText) const;

    /// Ends the phrase: begins to count anew. Returns whether it had enough voice to be committed.
    bool endPhrase();

    /// Takes the decision of a commit: enough audio since the last one. Counts anew either way.
    bool takeCommit();

    /// Takes the decision of a last commit: whether anything that was sent since the last one may
    /// be a word, however short. Counts anew either way.
    bool takeRest();

    /// A turn ends here, as a server that listens for turns should hear it: 0.8 s of voice and a
    /// pause of 450 ms. Told once, and then counted anew.
    bool takeTurnEnd();

    /// Anything since the last commit or `takeRest` may be a word.
    [[nodiscard]] bool hasRest() const;

    /// How long nobody has spoken, whether or not a phrase ended in it.
    [[nodiscard]] std::int32_t pauseMs() const { return m_quietRun / 24; }

    /// Forgets long silence, so that the length rule counts from the next voice.
    void forgetSilence();

    /// Drops what waits and the counts. The gain stays: the voice is the same in the next session.
    void reset();

private:
    void addSample(double s);
    [[nodiscard]] bool endsBySilence() const;

    std::vector<std::int16_t> m_pcmOut;
    double m_decimSum = 0;
    std::int32_t m_decimCount = 0;
    double m_peak = 0.05;
    double m_gain = 1.0;
    std::int32_t m_voicedSamples = 0;
    std::int32_t m_silentRun = 0;
    std::int32_t m_quietRun = 0; ///< as the silent run, over the ends of phrases too
    std::int32_t m_uncommittedVoice = 0; ///< voiced samples that no commit has covered yet
    std::int32_t m_samplesSinceCommit = 0;
    bool m_speaking = false;
};

} // namespace nimbara
