#pragma once

#include "media/audio_block.h"

#include <QList>
#include <QPair>

#include <algorithm>
#include <cstdint>
#include <functional>

namespace nimbara::testing {

/// Stretches of a constant level: milliseconds and level.
using Stretches = QList<QPair<int, double>>;

inline AudioBlock signal(const Stretches &stretches)
{
    AudioBlock block;
    for (const auto &[ms, level] : stretches) {
        block.samples.insert(block.samples.end(),
            static_cast<std::size_t>(ms) * 96,
            static_cast<float>(level));
    }
    return block;
}

/// Hands the block on in pieces of `frames` frames, as a capture does.
inline void inPieces(const AudioBlock &block,
    std::size_t frames,
    const std::function<void(const AudioBlock &)> &to)
{
    for (std::size_t start = 0; start < block.samples.size(); start += frames * 2) {
        const auto first = block.samples.begin() + static_cast<std::ptrdiff_t>(start);
        const auto count = std::min(frames * 2, block.samples.size() - start);
        to({ { first, first + static_cast<std::ptrdiff_t>(count) }, 0 });
    }
}

} // namespace nimbara::testing
