#include "bench.h"
#include "translation/live_audio.h"
#include "translation/live_messages.h"
#include "translation/segmenter.h"
#include "translation/websocket_frame.h"

#include <cmath>

using namespace nimbara;
using namespace nimbara::bench;

namespace {

/// One second of capture: blocks of 1024 frames, voiced with pauses.
std::vector<AudioBlock> second()
{
    std::vector<AudioBlock> blocks(47);
    int frame = 0;
    for (AudioBlock &block : blocks) {
        for (int i = 0; i < 1024; ++i, ++frame) {
            const bool speaking = frame % 48000 < 40000;
            const float value
                = speaking ? 0.3F * std::sin(static_cast<float>(frame) * 0.02F) : 0.0F;
            block.samples.insert(block.samples.end(), 2, value);
        }
    }
    return blocks;
}

/// Milliseconds of one core for one second of voice, cut into phrases.
double segmentSecondMs()
{
    static const auto blocks = second();
    static Segmenter segmenter;
    return medianMs(50, [] {
        for (const AudioBlock &block : blocks) {
            segmenter.push(block);
        }
    });
}

/// The same on the live road: conversion, gain, messages and frames.
double streamSecondMs()
{
    static const auto blocks = second();
    static LiveAudio audio;
    static qsizetype bytes = 0;
    return medianMs(50, [] {
        for (const AudioBlock &block : blocks) {
            audio.push(block);
            if (audio.isChunkReady()) {
                const QByteArray message = live::audioAppend(audio.takeChunk());
                bytes += websocket::encodeFrame(websocket::opcode::text, message, { 1, 2, 3, 4 })
                             .size();
            }
        }
    });
}

} // namespace

NIMBARA_BENCH_CASE("voice-segment-second", segmentSecondMs)
NIMBARA_BENCH_CASE("voice-stream-second", streamSecondMs)
