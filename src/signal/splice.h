#pragma once

#include "signal/audio_block.h"

#include <cstddef>
#include <span>

/// Leaving sound out of a FIFO, or repeating a little of it, without a click: the signal goes over
/// to another place of itself in one cross-fade, and the place is chosen so that both are alike
/// there.
namespace nimbara::splicing {

/// Stereo frames of the cross-fade (10 ms).
constexpr std::size_t fadeFrames = 480;

/// Where the sound leaves its course: from `frame` on it fades over to what lies `skip` frames
/// later, or earlier when negative.
struct Splice {
    std::size_t frame = 0;
    std::ptrdiff_t skip = 0;
};

/// A cut of at most `most` frames, and at least `most` − 10 ms, at the start of a block. The FIFO
/// holds `most` + `fadeFrames` frames.
Splice bestCut(const AudioFifo &fifo, std::size_t most);

/// A stretch of `least`..`most` frames at the end of a block of `blockFrames`. The FIFO holds
/// `blockFrames` − `least` frames; `most` is at most `mostStretch(blockFrames)`.
Splice
bestStretch(const AudioFifo &fifo, std::size_t blockFrames, std::size_t least, std::size_t most);

/// The most frames that one block can be stretched by: it holds the repeated part twice and the
/// cross-fade.
std::size_t mostStretch(std::size_t blockFrames);

/// Fills `into` and takes out of the FIFO what has been used: `skip` frames more than a plain read.
void read(AudioFifo &fifo, const Splice &splice, std::span<float> into);

} // namespace nimbara::splicing
