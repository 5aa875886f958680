#pragma once

#include "signal/audio_block.h"

#include <cstddef>
#include <cstdint>
#include <deque>

namespace nimbara {

/// The voice that a live session was given and has not transcribed yet, so that a session which is
/// lost takes no phrase with it. A plain value. Positions are in frames of 48000 Hz since the first
/// one.
class SeamBuffer {
public:
    /// The longest stretch that is kept, in frames: 20 s. Older voice leaves.
    static constexpr std::int64_t longest = std::int64_t { 20 } * audioRate;
    /// What is kept of a silence before the first voice: 300 ms.
    static constexpr std::int64_t lead = 3 * std::int64_t { audioRate } / 10;
    /// Between two words it is quiet for so long at least: 20 ms.
    static constexpr std::int64_t shortestGap = audioRate / 50;
    /// A word that a phrase ends in began no longer ago: 500 ms.
    static constexpr std::int64_t longestWord = audioRate / 2;

    void add(const AudioBlock &block);

    /// A phrase ends with the last block. One that ends by its length ends within a word, which is
    /// heard with the next phrase: that begins with the word.
    void endPhrase();

    /// The earliest phrase is transcribed: it leaves. Without an ended phrase everything does.
    void phraseDone();

    /// Takes all blocks, oldest first; of a silence before the first voice no more than `lead`.
    std::deque<AudioBlock> take();

    void clear() { *this = {}; }

private:
    void dropUntil(std::int64_t position);

    std::deque<AudioBlock> m_blocks;
    std::int64_t m_begin = 0; ///< of the first block
    std::int64_t m_end = 0; ///< of the last one
    std::int64_t m_quietFrom = 0; ///< nobody has spoken since
    std::int64_t m_gapEnd = 0; ///< the last place between two words, or in a pause
    std::deque<std::int64_t> m_phraseEnds; ///< of the phrases that are not transcribed
};

} // namespace nimbara
