#pragma once

#include "signal/audio_block.h"

#include <QByteArray>

#include <cstdint>
#include <vector>

namespace nimbara {

/// The longest clip that is spoken: 30 s of 16-bit mono at 24000 Hz.
constexpr qsizetype maxVoiceBytes = 1440000;

/// Values that the longest clip fills in the voice queue: make the queue with this limit, so that
/// no clip is ever cut.
constexpr std::size_t voiceQueueLimit = static_cast<std::size_t>(maxVoiceBytes) / 2 * 4;

/// Little-endian 16-bit mono PCM at 24000 Hz as interleaved stereo at 48000 Hz, −1..1: every sample
/// four times. An odd last byte is ignored.
std::vector<float> voiceSamples(const QByteArray &pcm);

/// How long the clip is, in microseconds.
std::int64_t voiceUs(const QByteArray &pcm);

/// Replaces what is left in the queue with the clip: only the newest phrase is spoken.
void queueVoice(AudioFifo &voiceQueue, const QByteArray &pcm);

} // namespace nimbara
