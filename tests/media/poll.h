#pragma once

#include "media/sources/media.h"
#include "support/error_of.h"

#include <QTest>

namespace nimbara::testing {

/// Reads the source as the frame clock does until the condition holds; false when it never does.
template <typename Condition> bool pollUntil(Media &media, Condition condition)
{
    return QTest::qWaitFor([&] { return media.pollSource(), condition(); }, 20'000);
}

/// Why the source that `make` makes does not start: told at once, or by the source itself on a
/// machine too busy to know it yet.
template <typename Make> QString refusal(Make make)
{
    return errorOf([&] {
        const auto late = make();
        const auto refused
            = [&] { return late->startOutcome() == PipelineStart::Outcome::Refused; };
        if (QTest::qWaitFor(refused, 30'000)) {
            throw Error(QStringLiteral("No se pudo iniciar fuente"));
        }
        return late;
    });
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
