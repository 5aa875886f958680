#include "output/mix/program_audio.h"

#include <algorithm>

namespace nimbara {

namespace {

double withGain(double value, const GainState &state)
{
    return state.muted ? 0.0 : std::clamp(value * state.gain, -1.0, 1.0);
}

} // namespace

ProgramBlock
mixProgramBlock(std::span<const float> sound, std::span<const float> voice, const MixLevels &levels)
{
    ProgramBlock block {};
    for (std::size_t i = 0; i < block.size(); ++i) {
        const double own = i < sound.size() ? sound[i] : 0.0;
        const double spoken = i < voice.size() ? voice[i] : 0.0;
        const double mixed = own * levels.source / 100 + spoken * levels.voice / 100;
        block[i] = static_cast<float>(std::clamp(mixed, -1.0, 1.0));
    }
    return block;
}

ProgramBlock ProgramAudio::next(const Sources &sources,
    const GainState &gain,
    AudioFifo &voice,
    const MixLevels &levels)
{
    ProgramBlock sound;
    ProgramBlock spoken;
    m_input.take(sources.input, sound);
    const std::size_t media = takeMedia(sources, gain, sound);
    voice.pop(spoken);
    ProgramBlock block = mixProgramBlock(sound, spoken, levels);
    fadeInto({ gain, levels }, std::span(block).first(media));
    fadeInto({ std::nullopt, levels }, std::span(block).subspan(media));
    addClip(gain.muted ? nullptr : sources.clip, block);
    return block;
}

void ProgramAudio::addClip(AudioFifo *clip, ProgramBlock &block)
{
    ProgramBlock own;
    m_clip.take(clip, own);
    for (std::size_t i = 0; i < block.size(); ++i) {
        block[i] = std::clamp(block[i] + own[i], -1.0F, 1.0F);
    }
}

/// Puts the media's sound over the input's, from the front, and returns how many values it has.
std::size_t
ProgramAudio::takeMedia(const Sources &sources, const GainState &gain, ProgramBlock &sound)
{
    std::size_t count = sources.media != nullptr ? sound.size() : 0;
    if (count > 0 && sources.mediaIsOver) {
        count = std::min(count, sources.media->size());
    }
    if (count == 0) {
        ProgramBlock silence;
        m_media.take(nullptr, silence); // the next media starts anew
        return 0;
    }
    const auto heard = std::span(sound).first(count);
    m_media.take(sources.media, heard);
    for (float &value : heard) {
        value = static_cast<float>(withGain(value, gain));
    }
    return count;
}

LagGuard::Report ProgramAudio::takeReport()
{
    LagGuard::Report report = m_input.takeReport();
    for (LagGuard *guard : { &m_media, &m_clip }) {
        const LagGuard::Report own = guard->takeReport();
        report.dropped += own.dropped;
        report.stretched += own.stretched;
        report.silent += own.silent;
    }
    return report;
}

void ProgramAudio::fadeInto(const Mix &mix, std::span<float> values)
{
    if (values.empty()) {
        return;
    }
    if (mix != m_mix) {
        m_mix = mix;
        m_fade.start(m_last, { values[0], values[1] });
    }
    m_fade.apply(values);
    for (float &value : values) {
        value = std::clamp(value, -1.0F, 1.0F);
    }
    m_last = { values[values.size() - 2], values.back() };
}

} // namespace nimbara
