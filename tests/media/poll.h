#pragma once

#include "media/sources/media.h"

#include <QTest>

namespace nimbara::testing {

/// Reads the source as the frame clock does until the condition holds; false when it never does.
template <typename Condition> bool pollUntil(Media &media, Condition condition)
{
    return QTest::qWaitFor(
        [&] {
            media.pollSource();
            return condition();
        },
        20'000);
}

/// The four bytes of the pixel at a position given in fractions of the picture.
inline std::array<int, 4> pixelAt(const Frame &frame, double x, double y)
{
    const auto column = static_cast<std::size_t>(x * frame.width);
    const auto row = static_cast<std::size_t>(y * frame.height);
    const auto *pixel = &frame.pixels[(row * static_cast<std::size_t>(frame.width) + column) * 4];
    return { pixel[0], pixel[1], pixel[2], pixel[3] };
}

} // namespace nimbara::testing
