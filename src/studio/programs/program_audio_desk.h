#pragma once

#include "output/mix/program_audio.h"
#include "studio/sources/audio_input.h"
#include "studio/sources/on_air.h"

#include <cstdint>
#include <span>
#include <vector>

namespace nimbara {

/// The sound of the stream program: picks what is heard, mixes one block for each frame and logs
/// what keeping it with the picture has cost, at most once a minute. Interface thread only.
///
/// Media replaces the input only while it delivers sound: a clip without a sound track or with a
/// silent one, one that has ended or a network source that hangs leaves the input on the program.
/// Silence is what stays below −60 dBFS; media that is heard keeps the program for 5 s of it.
class ProgramAudioDesk {
public:
    explicit ProgramAudioDesk(const Clock &clock);

    /// The block of this frame. `program`: the stream program; `clip`: of a transition that runs
    /// there, or none. Drains the queues whether or not an output runs.
    ProgramBlock next(const LiveScene &program, const MediaPtr &clip, AudioInput &input);

    /// The media that was heard in the last block, or none: the input was. Of the visible video
    /// layers with their sound switched on it is the first, back to front, that delivers sound.
    [[nodiscard]] const MediaPtr &heard() const { return m_heard; }

    [[nodiscard]] MixLevels &levels() { return m_levels; }
    /// The synthetic voice, as 48 kHz stereo; one clip at a time.
    [[nodiscard]] AudioFifo &voice() { return m_voice; }
    /// What of it is in the last block, whatever its level; empty where nothing was spoken.
    [[nodiscard]] std::span<const float> spoken() const { return m_spoken; }

private:
    [[nodiscard]] MediaPtr delivering(const LiveScene &program);
    static bool begins(Media &media);
    bool goesOn(Media &media);
    AudioFifo *soundOf(const MediaPtr &clip);
    void logCorrections();

    const Clock &m_clock;
    ProgramAudio m_audio;
    MixLevels m_levels;
    AudioFifo m_voice;
    std::vector<float> m_spoken;
    MediaPtr m_heard;
    int m_quietBlocks = 0; ///< of the heard media, the newest without a break
    bool m_awaited = false; ///< the heard media had nothing for the last block
    const Media *m_clip = nullptr; ///< whose sound has begun; for comparison alone
    std::int64_t m_lastLog;
};

} // namespace nimbara
