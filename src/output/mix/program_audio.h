#pragma once

#include "media/capture/audio_capture.h"
#include "output/mix/lag_guard.h"
#include "signal/audio_block.h"

#include <array>
#include <optional>
#include <span>

namespace nimbara {

/// Values of one program audio block: 1600 stereo frames, one frame period at 48000 Hz.
constexpr std::size_t programBlockValues = 3200;
using ProgramBlock = std::array<float, programBlockValues>;

/// The two output sliders, percent, 0..100.
struct MixLevels {
    int source = 100; ///< "Original en salidas"
    int voice = 100; ///< "Voz traducida en salidas"

    bool operator==(const MixLevels &) const = default;
};

/// Mixes one block: each value of `sound` and of `voice` at their levels, clamped to −1..1. Values
/// that are missing count as 0.0.
ProgramBlock mixProgramBlock(std::span<const float> sound,
    std::span<const float> voice,
    const MixLevels &levels);

/// Makes the program audio of every frame tick, whether or not an output runs. Interface thread
/// only.
class ProgramAudio {
public:
    /// Where the sound of this tick comes from.
    struct Sources {
        AudioFifo *input = nullptr; ///< gain and mute are in it; none: silence
        AudioFifo *media = nullptr; ///< is heard in its place, with gain and mute; none: the input
        bool mediaIsOver = false; ///< no more comes: behind its last value the input is heard again
        AudioFifo *clip = nullptr; ///< is heard over all else, at its own level, unless muted
    };

    /// Drains one block of the sources and of the synthetic voice and mixes what is heard. The
    /// input is drained also while media is heard, so that it is there, without a gap and in step
    /// with the picture, when the media ends. Where source, gain or levels change, the step is
    /// faded in 10 ms; a clip that begins or ends changes nothing in the rest.
    ProgramBlock
    next(const Sources &sources, const GainState &gain, AudioFifo &voice, const MixLevels &levels);

    /// What keeping the sound with the picture has cost since the last call.
    LagGuard::Report takeReport();

private:
    /// What the values of a block were multiplied by.
    struct Mix {
        std::optional<GainState> gain; ///< of media; none: the input is heard
        MixLevels levels;

        bool operator==(const Mix &) const = default;
    };
    std::size_t takeMedia(const Sources &sources, const GainState &gain, ProgramBlock &sound);
    void fadeInto(const Mix &mix, std::span<float> values);
    void addClip(AudioFifo *clip, ProgramBlock &block);

    LagGuard m_input;
    LagGuard m_media;
    LagGuard m_clip;
    Mix m_mix;
    StereoValue m_last {}; ///< last values given out
    StepFade m_fade { 480 };
};

} // namespace nimbara
