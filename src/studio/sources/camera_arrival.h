#pragma once

#include "base/message.h"
#include "media/sources/media.h"

#include <cstdint>
#include <deque>
#include <optional>

namespace nimbara {

/// What comes in from a camera beside what was asked for and agreed upon. Looked at once a second;
/// the rate is that of the last 5 s. Interface thread only.
class CameraArrival {
public:
    static constexpr std::int64_t spacingUs = 1'000'000;
    static constexpr std::int64_t windowUs = 5'000'000;
    /// Of the agreed rate; a camera in the dark delivers half of it.
    static constexpr double enough = 0.8;

    /// Call on every run of the frame clock with the camera, or null. Returns the text for the
    /// operator when it is another one; an empty text for what is no camera.
    std::optional<Message> poll(const Media *camera, std::int64_t nowUs);

private:
    struct Look {
        std::int64_t timeUs;
        std::uint64_t arrived;
    };

    void look(const Media *camera, std::int64_t nowUs);
    [[nodiscard]] std::optional<double> perSecond() const;
    [[nodiscard]] Message text(const Media &camera) const;

    const void *m_camera = nullptr;
    std::deque<Look> m_looks;
    std::optional<Message> m_told;
};

} // namespace nimbara
