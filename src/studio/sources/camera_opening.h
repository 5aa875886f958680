#pragma once

#include "base/clock.h"
#include "base/message.h"
#include "media/sources/media.h"
#include "studio/sources/leaving_devices.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace nimbara {

/// One attempt at a camera.
struct CameraAttempt {
    std::optional<DeviceMode> mode; ///< none: as it likes
    DeviceRoad road = DeviceRoad::System;
};

/// Opens a camera. Throws `Error`.
using CameraOpener = std::function<MediaPtr(const CameraAttempt &attempt)>;

/// Whether a camera is read past the media service.
enum class DirectRoad {
    None, ///< never
    WhenSilent, ///< once the service opens it and no picture comes
    First, ///< the service only when that does not work
};

/// A camera on its way to its first picture. What a device offers it may yet fail to deliver, on a
/// bus that is full or behind a bad cable: a mode without a picture for 3 s gives way to the next
/// one. One that breaks off is asked for once more after a moment, since a device that has just
/// been plugged in may refuse at first what it can do well. An attempt begins when the one before
/// has let go of the device.
///
/// A media service may open a camera and hand over nothing. After 2 s every mode is tried directly,
/// and the service again after those. Interface thread only; never waits.
class CameraOpening {
public:
    static constexpr std::int64_t patienceUs = 3'000'000; ///< with a mode, and with one that leaves
    static constexpr std::int64_t restUs = 500'000; ///< before a mode is asked for once more
    static constexpr std::int64_t servicePatienceUs = 2'000'000; ///< where there is a direct road
    /// A service keeps a device for a while after its last reader has gone; so long what is refused
    /// directly is asked for again.
    static constexpr std::int64_t releaseUs = 8'000'000;

    enum class State {
        Underway,
        Delivers, ///< it has a picture
        Failed, ///< no mode delivers, or the device hangs
    };

    /// `modes`: the best first; empty: what the camera likes. `before`: what holds the device as
    /// yet. Throws `Error` when the device is free and cannot be built in any mode.
    CameraOpening(const Clock &clock,
        CameraOpener open,
        const std::vector<DeviceMode> &modes,
        DeviceHolders before = {},
        DirectRoad direct = DirectRoad::None);

    /// Takes the next step. Call on every run of the frame clock.
    State poll();

    /// The present attempt; none while the device is still held.
    [[nodiscard]] const MediaPtr &camera() const { return m_camera; }
    /// What holds the device once this is given up.
    [[nodiscard]] DeviceHolders holders() const;
    /// What it was asked for last, and by which road.
    [[nodiscard]] CameraAttempt attempt() const;
    /// A mode before it failed, other than by its silence: at another time it may work.
    [[nodiscard]] bool mayDoBetter() const { return m_mayDoBetter; }
    /// Why the last attempt failed.
    [[nodiscard]] const Message &reason() const { return m_reason; }
    /// The last attempt failed because no picture came.
    [[nodiscard]] bool starved() const { return m_starved; }

private:
    [[nodiscard]] bool hasNext() const { return m_next < m_attempts.size(); }
    void append(std::vector<CameraAttempt> &attempts, DeviceRoad road) const;
    State follow();
    State turn();
    State retry();
    State giveUp();
    void leave(std::int64_t restUs);
    State openNext();

    const Clock &m_clock;
    CameraOpener m_open;
    std::vector<std::optional<DeviceMode>> m_modes; ///< one at least
    std::vector<CameraAttempt> m_attempts; ///< in their order
    std::size_t m_next = 0;
    bool m_mayTurn = false; ///< the direct road is still to be tried
    std::optional<std::int64_t> m_turnedUs; ///< when the service was left
    MediaPtr m_camera;
    DeviceHolders m_before; ///< what still holds the device
    std::int64_t m_begunUs = 0; ///< the present step
    std::int64_t m_restUs = 0; ///< at least, between the present attempt and the one before
    bool m_isAnswered = false; ///< the device has taken the present mode, or refused it
    bool m_isRetried = false; ///< the present mode is asked for the second time
    bool m_mayDoBetter = false;
    Message m_reason;
    bool m_starved = false;
};

} // namespace nimbara
