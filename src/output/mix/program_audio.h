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
/// that are missing count as 0.0. `mediaGain` is given for media sound alone: values from the
/// capture have gain and mute in them already.
ProgramBlock mixProgramBlock(std::span<const float> sound,
    const std::optional<GainState> &mediaGain,
    std::span<const float> voice,
    const MixLevels &levels);

/// Makes the program audio of every frame tick, whether or not an output runs. Interface thread
/// only.
class ProgramAudio {
public:
    /// Where the sound of this tick comes from: the input FIFO, or the FIFO of the media on
    /// program.
    struct Source {
        AudioFifo *fifo = nullptr; ///< none: silence
        bool isMedia = false; ///< gain and mute are still to be applied
    };

    /// Drains one block of the source and of the synthetic voice and mixes them. Where gain or
    /// levels are not those of the block before, the step is faded.
    ProgramBlock
    next(const Source &source, const GainState &gain, AudioFifo &voice, const MixLevels &levels);

    /// What keeping the sound with the picture has cost since the last call.
    LagGuard::Report takeReport() { return m_guard.takeReport(); }

private:
    /// What the values of a block were multiplied by.
    struct Mix {
        std::optional<GainState> gain; ///< of media
        MixLevels levels;

        bool operator==(const Mix &) const = default;
    };
    void fadeStep(const Mix &mix, ProgramBlock &block);

    LagGuard m_guard;
    Mix m_mix;
    StereoValue m_last {}; ///< last values given out
    StepFade m_fade;
};

} // namespace nimbara
