#include "studio/programs/program_audio_desk.h"

#include "base/log.h"
#include "translation/pipeline/voice.h"

namespace nimbara {

namespace {

constexpr std::int64_t logSpacingUs = 60'000'000;

qint64 milliseconds(std::uint64_t frames)
{
    return static_cast<qint64>(frames * 1000 / audioRate);
}

} // namespace

Media *heardMedia(const LiveScene &program)
{
    for (std::size_t index = 0; index < program.layers.size(); ++index) {
        const Layer &layer = program.scene->layers[index];
        if (layer.kind == LayerKind::Video && layer.visible && layer.sound
            && program.layers[index].source) {
            return program.layers[index].source.get();
        }
    }
    return nullptr;
}

ProgramAudioDesk::ProgramAudioDesk(const Clock &clock)
    : m_clock(clock)
    , m_voice(voiceQueueLimit)
    , m_lastLog(clock.monotonicUs())
{
}

ProgramBlock ProgramAudioDesk::next(const LiveScene &program, AudioInput &input)
{
    Media *media = heardMedia(program);
    const ProgramAudio::Source source { media != nullptr ? &media->audioFifo() : &input.fifo(),
        media != nullptr };
    logCorrections();
    return m_audio.next(source, input.gainState(), m_voice, m_levels);
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
