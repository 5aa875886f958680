#include "studio/programs/program_audio_desk.h"

#include "base/log.h"
#include "translation/pipeline/voice.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t logSpacingUs = 60'000'000;
constexpr float quietest = 0.001F; ///< −60 dBFS: below, a sound track is silent
constexpr int longestPause = 150; ///< blocks: a pause of 5 s is still part of a song

qint64 milliseconds(std::uint64_t frames)
{
    return static_cast<qint64>(frames * 1000 / audioRate);
}

/// Nothing can be heard in the next block.
bool isQuiet(const AudioFifo &fifo)
{
    const std::size_t count = std::min(fifo.size(), programBlockValues);
    for (std::size_t i = 0; i < count; ++i) {
        if (std::abs(fifo.at(i)) >= quietest) {
            return false;
        }
    }
    return true;
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
    MediaPtr heard = delivering(program);
    if (heard != m_heard) {
        m_quietBlocks = 0;
    }
    m_heard = std::move(heard);
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

MediaPtr ProgramAudioDesk::delivering(const LiveScene &program)
{
    std::vector<MediaPtr> passed;
    for (std::size_t index = 0; index < program.layers.size(); ++index) {
        const Layer &layer = program.scene->layers[index];
        const MediaPtr &source = program.layers[index].source;
        const bool mayBeHeard
            = layer.kind == LayerKind::Video && layer.visible && layer.sound && source;
        if (!mayBeHeard || std::find(passed.begin(), passed.end(), source) != passed.end()) {
            continue;
        }
        if (source == m_heard ? goesOn(*source) : begins(*source)) {
            return source;
        }
        passed.push_back(source);
    }
    return nullptr;
}

/// Media begins with a whole block, so that its start has no gap, and with the first that is no
/// silence: many a background has a sound track with nothing in it. What is not heard passes in
/// step with the picture.
bool ProgramAudioDesk::begins(Media &media)
{
    AudioFifo &fifo = media.audioFifo();
    if (fifo.size() < (media.soundIsOver() ? 1 : programBlockValues)) {
        return false;
    }
    if (!isQuiet(fifo)) {
        return true;
    }
    fifo.drop(programBlockValues);
    return false;
}

/// It may be late by one block: the input must not be heard through a stream that falters, nor in
/// the pauses of a song.
bool ProgramAudioDesk::goesOn(Media &media)
{
    const std::size_t ready = media.audioFifo().size();
    m_quietBlocks = isQuiet(media.audioFifo()) ? m_quietBlocks + 1 : 0;
    if (m_quietBlocks > longestPause) {
        return false;
    }
    return ready > 0 || (!media.soundIsOver() && !m_awaited);
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
