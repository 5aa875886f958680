#pragma once

#include "signal/audio_block.h"

#include <cstddef>
#include <deque>

namespace nimbara {

/// The voice that a live session was given and has not transcribed yet, so that a session which is
/// lost takes no phrase with it. A plain value.
class SeamBuffer {
public:
    /// The longest stretch that is kept, in frames of 48000 Hz: 20 s. Older voice leaves.
    static constexpr std::size_t longest = 20 * std::size_t { audioRate };

    void add(const AudioBlock &block);

    /// A phrase ends with the last block.
    void endPhrase();

    /// The earliest phrase is transcribed: it leaves. Without an ended phrase everything does.
    void phraseDone();

    /// Takes all blocks, oldest first.
    std::deque<AudioBlock> take();

    void clear();

private:
    struct Piece {
        AudioBlock block;
        bool endsPhrase = false;
    };
    void dropFirst();

    std::deque<Piece> m_pieces;
    std::size_t m_frames = 0;
};

} // namespace nimbara
