#pragma once

#include "base/message.h"
#include "media/capture/devices.h"
#include "media/sources/media.h"

#include <cstdint>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

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
    /// Call at least once a second with the camera, or null. Returns the text for the
    /// operator when it is another one; an empty text for what is no camera.
    std::optional<Message> poll(const Media *camera, std::int64_t nowUs);

private:
    [[nodiscard]] Message text(const Media &camera) const;

    std::weak_ptr<const void> m_camera; ///< its `Media::presence`: an address may come again
    ArrivalRate m_rate;
    std::optional<Message> m_told;
};

/// A camera that is open.
struct OpenCamera {
    const CaptureDevice *device = nullptr; ///< none: bars
    const Media *media = nullptr; ///< none: it is lost
};

/// What comes in from one of them.
struct ArrivalText {
    std::optional<CaptureDevice> device; ///< none: bars
    Message text; ///< empty for what is no camera
};

/// What comes in from all cameras that are open. Interface thread only.
class CameraArrivals {
public:
    /// A look is due: a second has passed since the last one. Cheap, for every run of the frame
    /// clock.
    [[nodiscard]] bool isDue(std::int64_t nowUs) const;
    /// Looks at the cameras. Returns a text for each, in their order, when one of them, or which
    /// they are, is another one.
    std::optional<std::vector<ArrivalText>> poll(const std::vector<OpenCamera> &cameras,
        std::int64_t nowUs);

private:
    struct Watched {
        std::weak_ptr<const void> presence; ///< of the media
        std::optional<CaptureDevice> device;
        CameraArrival arrival;
        Message text;
    };
    bool follow(const std::vector<OpenCamera> &cameras);

    std::vector<Watched> m_watched;
    std::optional<std::int64_t> m_lookedUs; ///< none: not yet
};

} // namespace nimbara
