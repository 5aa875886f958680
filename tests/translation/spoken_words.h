#pragma once

#include "signal/audio_block.h"

#include <cmath>
#include <cstddef>
#include <numbers>

namespace nimbara::testing {

/// How many words there are.
constexpr int vocabulary = 80;

/// A word as word_ear.mjs hears it: a tone of 240 ms that tells its number, and 60 ms of silence.
inline AudioBlock spokenWord(int number)
{
    AudioBlock block;
    block.samples.resize(std::size_t { 300 } * 96);
    const double step = 2 * std::numbers::pi * (200 + 12 * (number % vocabulary)) / audioRate;
    for (std::size_t i = 0; i < std::size_t { 240 } * 48; ++i) {
        const auto value = static_cast<float>(0.3 * std::sin(step * static_cast<double>(i)));
        block.samples[2 * i] = value;
        block.samples[2 * i + 1] = value;
    }
    return block;
}

} // namespace nimbara::testing
