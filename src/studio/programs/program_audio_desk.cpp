#include "studio/programs/program_audio_desk.h"

#include "base/log.h"
#include "translation/pipeline/voice.h"

#include <algorithm>

namespace nimbara {

namespace {

constexpr std::int64_t logSpacingUs = 60'000'000;

qint64 milliseconds(std::uint64_t frames)
{
    return static_cast<qint64>(frames * 1000 / audioRate);
}

} // namespace

ProgramAudioDesk::ProgramAudioDesk(const Clock &clock)
    : m_clock(clock)
    , m_voice(voiceQueueLimit)
    , m_lastLog(clock.monotonicUs())
{
}

ProgramBlock
ProgramAudioDesk::next(const LiveScene &program, const MediaPtr &clip, AudioInput &input)
{
    m_heard = delivering(program);
    m_awaited = m_heard && m_heard->audioFifo().empty();
    const ProgramAudio::Sources sources { &input.fifo(),
        m_heard ? &m_heard->audioFifo() : nullptr,
        m_heard && m_heard->soundIsOver(),
        soundOf(clip) };
    logCorrections();
    m_spoken.resize(std::min(m_voice.size(), programBlockValues));
    for (std::size_t i = 0; i < m_spoken.size(); ++i) {
        m_spoken[i] = m_voice.at(i);
    }
    return m_audio.next(sources, input.gainState(), m_voice, m_levels);
}

MediaPtr ProgramAudioDesk::delivering(const LiveScene &program) const
{
    for (std::size_t index = 0; index < program.layers.size(); ++index) {
        const Layer &layer = program.scene->layers[index];
        const MediaPtr &source = program.layers[index].source;
        if (layer.kind == LayerKind::Video && layer.visible && layer.sound && source
            && delivers(source)) {
            return source;
        }
    }
    return nullptr;
}

/// Media begins with a whole block, so that its start has no gap. From then on it may be late by
/// one block: the input must not be heard through a stream that falters.
bool ProgramAudioDesk::delivers(const MediaPtr &media) const
{
    const std::size_t ready = media->audioFifo().size();
    if (media->soundIsOver()) {
        return ready > 0;
    }
    return media == m_heard ? ready > 0 || !m_awaited : ready >= programBlockValues;
}

/// It begins with a whole block as well, and is followed from then on.
AudioFifo *ProgramAudioDesk::soundOf(const MediaPtr &clip)
{
    if (!clip) {
        m_clip = nullptr;
    } else if (clip->audioFifo().size() >= (clip->soundIsOver() ? 1 : programBlockValues)) {
        m_clip = clip.get();
    }
    return clip && clip.get() == m_clip ? &clip->audioFifo() : nullptr;
}

void ProgramAudioDesk::logCorrections()
{
    const std::int64_t now = m_clock.monotonicUs();
    if (now - m_lastLog < logSpacingUs) {
        return;
    }
    m_lastLog = now;
    const LagGuard::Report report = m_audio.takeReport();
    if (!report.empty()) {
        logLine(QStringLiteral("Audio: %1 ms recortados, %2 ms alargados, %3 ms de silencio")
                    .arg(milliseconds(report.dropped))
                    .arg(milliseconds(report.stretched))
                    .arg(milliseconds(report.silent)));
    }
}

} // namespace nimbara
