#include "output/mix/program_audio.h"

#include <algorithm>

namespace nimbara {

namespace {

double withGain(double value, const GainState &state)
{
    return state.muted ? 0.0 : std::clamp(value * state.gain, -1.0, 1.0);
}

} // namespace

ProgramBlock mixProgramBlock(std::span<const float> sound,
    const std::optional<GainState> &mediaGain,
    std::span<const float> voice,
    const MixLevels &levels)
{
    ProgramBlock block {};
    for (std::size_t i = 0; i < block.size(); ++i) {
        double own = i < sound.size() ? sound[i] : 0.0;
        if (mediaGain) {
            own = withGain(own, *mediaGain);
        }
        const double spoken = i < voice.size() ? voice[i] : 0.0;
        const double mixed = own * levels.source / 100 + spoken * levels.voice / 100;
        block[i] = static_cast<float>(std::clamp(mixed, -1.0, 1.0));
    }
    return block;
}

ProgramBlock ProgramAudio::next(const Source &source,
    const GainState &gain,
    AudioFifo &voice,
    const MixLevels &levels)
{
    ProgramBlock sound;
    ProgramBlock spoken;
    m_guard.take(source.fifo, sound);
    voice.pop(spoken);
    const Mix mix { source.isMedia ? std::optional(gain) : std::nullopt, levels };
    ProgramBlock block = mixProgramBlock(sound, mix.gain, spoken, levels);
    fadeStep(mix, block);
    return block;
}

void ProgramAudio::fadeStep(const Mix &mix, ProgramBlock &block)
{
    if (mix != m_mix) {
        m_mix = mix;
        m_fade.start(m_last, { block[0], block[1] });
    }
    m_fade.apply(block);
    for (float &value : block) {
        value = std::clamp(value, -1.0F, 1.0F);
    }
    m_last = { block[block.size() - 2], block.back() };
}

} // namespace nimbara
