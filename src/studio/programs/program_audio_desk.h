#pragma once

#include "output/mix/program_audio.h"
#include "studio/sources/audio_input.h"
#include "studio/sources/on_air.h"

#include <cstdint>

namespace nimbara {

/// The sound of the stream program: picks what is heard, mixes one block for each frame and logs
/// what keeping it with the picture has cost, at most once a minute. Interface thread only.
class ProgramAudioDesk {
public:
    explicit ProgramAudioDesk(const Clock &clock);

    /// The block of this frame. `program`: the stream program. Drains the queues whether or not an
    /// output runs.
    ProgramBlock next(const LiveScene &program, AudioInput &input);

    [[nodiscard]] MixLevels &levels() { return m_levels; }
    /// The synthetic voice, as 48 kHz stereo; one clip at a time.
    [[nodiscard]] AudioFifo &voice() { return m_voice; }

private:
    void logCorrections();

    const Clock &m_clock;
    ProgramAudio m_audio;
    MixLevels m_levels;
    AudioFifo m_voice;
    std::int64_t m_lastLog;
};

/// The media that is heard on the stream program: the first visible video layer, back to front,
/// with its sound switched on and a source; none otherwise.
Media *heardMedia(const LiveScene &program);

} // namespace nimbara
