#pragma once

#include "signal/audio_block.h"

#include <QList>
#include <QPair>

#include <algorithm>

namespace nimbara::testing {

/// Stretches of a constant level: milliseconds and level.
using Stretches = QList<QPair<int, double>>;

inline AudioBlock signal(const Stretches &stretches)
{
    AudioBlock block;
    for (const auto &[ms, level] : stretches) {
        const auto count = static_cast<std::size_t>(ms) * 96;
        block.samples.insert(block.samples.end(), count, static_cast<float>(level));
    }
    return block;
}

/// Hands the block on in pieces of `frames` frames, as a capture does.
template <typename To> void inPieces(const AudioBlock &block, std::ptrdiff_t frames, const To &to)
{
    for (auto at = block.samples.begin(); at != block.samples.end();) {
        const auto end = at + std::min(frames * 2, block.samples.end() - at);
        to(AudioBlock { { at, end }, 0 });
        at = end;
    }
}

} // namespace nimbara::testing
