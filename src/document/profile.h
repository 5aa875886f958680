#pragma once

#include "signal/frame.h"

#include <cstdint>

namespace nimbara {

/// The shape of the stream program.
enum class StreamProfile : std::int32_t {
    Landscape = 0, ///< 1920 × 1080
    Portrait = 1, ///< 1080 × 1920
};

constexpr FrameSize landscapeSize { 1920, 1080 };
constexpr FrameSize portraitSize { 1080, 1920 };
/// The hall screens' program, and PREVIEW while the hall set is edited.
constexpr FrameSize hallSize = landscapeSize;

constexpr FrameSize streamSize(StreamProfile profile)
{
    return profile == StreamProfile::Portrait ? portraitSize : landscapeSize;
}

} // namespace nimbara
