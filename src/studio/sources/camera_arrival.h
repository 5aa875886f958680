#pragma once

#include "base/message.h"
#include "media/sources/media.h"

#include <cstdint>
#include <deque>
#include <optional>

namespace nimbara {

/// How many pictures come in per second, over the last 5 s.
class ArrivalRate {
public:
    static constexpr std::int64_t spacingUs = 1'000'000; ///< between two looks
    static constexpr std::int64_t windowUs = 5'000'000;
    /// Of the rate that is due; a camera in the dark delivers half of it.
    static constexpr double enough = 0.8;

    /// `arrived`: pictures so far.
    void look(std::uint64_t arrived, std::int64_t nowUs);
    [[nodiscard]] bool isDue(std::int64_t nowUs) const;
    /// None before the first second is over.
    [[nodiscard]] std::optional<double> perSecond() const;
    /// Too few came between any two looks of a whole window: one hiccup is no lack of light.
    [[nodiscard]] bool isShortOf(double duePerSecond) const;

private:
    struct Look {
        std::int64_t timeUs;
        std::uint64_t arrived;
    };
    [[nodiscard]] std::int64_t spanUs() const;

    std::deque<Look> m_looks;
};

/// What comes in from a camera beside what was asked for and agreed upon. Looked at once a second.
/// Interface thread only.
class CameraArrival {
public:
    /// Call on every run of the frame clock with the camera, or null. Returns the text for the
    /// operator when it is another one; an empty text for what is no camera.
    std::optional<Message> poll(const Media *camera, std::int64_t nowUs);

private:
    [[nodiscard]] Message text(const Media &camera) const;

    const void *m_camera = nullptr;
    ArrivalRate m_rate;
    std::optional<Message> m_told;
};

} // namespace nimbara
