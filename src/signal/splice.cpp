#include "signal/splice.h"

#include <algorithm>
#include <limits>

namespace nimbara::splicing {

namespace {

constexpr std::size_t searchFrames = 480; // 10 ms hold a period of any voice and most music

float monoAt(const AudioFifo &fifo, std::size_t frame)
{
    return fifo.at(2 * frame) + fifo.at(2 * frame + 1);
}

/// How unlike the two places are, over the length of the cross-fade.
float difference(const AudioFifo &fifo, std::size_t first, std::size_t second)
{
    constexpr std::size_t stride = 4; // alike up to 6 kHz is alike enough
    float sum = 0.0F;
    for (std::size_t i = 0; i < fadeFrames; i += stride) {
        const float distance = monoAt(fifo, first + i) - monoAt(fifo, second + i);
        sum += distance * distance;
    }
    return sum;
}

} // namespace

Splice bestCut(const AudioFifo &fifo, std::size_t most)
{
    const std::size_t least = most > searchFrames ? most - searchFrames : 1;
    Splice best { 0, static_cast<std::ptrdiff_t>(most) };
    float smallest = std::numeric_limits<float>::max();
    for (std::size_t skip = most; skip >= least; --skip) {
        const float score = difference(fifo, 0, skip);
        if (score < smallest) {
            smallest = score;
            best.skip = static_cast<std::ptrdiff_t>(skip);
        }
    }
    return best;
}

Splice
bestStretch(const AudioFifo &fifo, std::size_t blockFrames, std::size_t least, std::size_t most)
{
    Splice best;
    float smallest = std::numeric_limits<float>::max();
    for (std::size_t extra = least; extra <= most; ++extra) {
        const std::size_t frame = blockFrames - extra - fadeFrames;
        const float score = difference(fifo, frame, frame - extra);
        if (score < smallest) {
            smallest = score;
            best = { frame, -static_cast<std::ptrdiff_t>(extra) };
        }
    }
    return best;
}

std::size_t mostStretch(std::size_t blockFrames)
{
    return blockFrames > fadeFrames ? (blockFrames - fadeFrames) / 2 : 0;
}

void read(AudioFifo &fifo, const Splice &splice, std::span<float> into)
{
    const std::size_t frames = into.size() / audioChannels;
    for (std::size_t frame = 0; frame < frames; ++frame) {
        const std::size_t away = frame + splice.skip;
        for (std::size_t channel = 0; channel < audioChannels; ++channel) {
            float &value = into[2 * frame + channel];
            if (frame < splice.frame) {
                value = fifo.at(2 * frame + channel);
            } else if (frame >= splice.frame + fadeFrames) {
                value = fifo.at(2 * away + channel);
            } else {
                const auto share = static_cast<float>(frame - splice.frame) / fadeFrames;
                const float here = fifo.at(2 * frame + channel);
                value = here + (fifo.at(2 * away + channel) - here) * share;
            }
        }
    }
    fifo.drop((frames + splice.skip) * audioChannels);
}

} // namespace nimbara::splicing
