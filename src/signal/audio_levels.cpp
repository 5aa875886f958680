#include "signal/audio_levels.h"

#include "base/error.h"

#include <algorithm>
#include <cmath>

namespace nimbara {

ProcessedBlock processBlock(const AudioBlock &block, const GainState &gainState)
{
    if (block.samples.size() % audioChannels != 0) {
        throw Error(QStringLiteral("Bloque de audio incompleto"));
    }
    if (!std::isfinite(gainState.gain) || gainState.gain < 0.0 || gainState.gain > 2.0) {
        throw Error(QStringLiteral("Ganancia invalida"));
    }
    ProcessedBlock result;
    result.block.pts = block.pts;
    result.block.samples.resize(block.samples.size());
    for (std::size_t i = 0; i < block.samples.size(); ++i) {
        const double x = std::isfinite(block.samples[i]) ? double { block.samples[i] } : 0.0;
        double &in = result.input.peak[i % audioChannels];
        in = std::max(in, std::abs(x));
        if (gainState.muted) {
            continue;
        }
        const double y = std::clamp(x * gainState.gain, -1.0, 1.0);
        result.block.samples[i] = static_cast<float>(y);
        double &out = result.output.peak[i % audioChannels];
        out = std::max(out, std::abs(y));
    }
    return result;
}

int meterValue(double peak)
{
    if (!(peak > 0)) {
        return 0;
    }
    const double decibels = std::max(20 * std::log10(peak), -60.0);
    return static_cast<int>((decibels + 60) * 100 / 60);
}

} // namespace nimbara
