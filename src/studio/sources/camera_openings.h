#pragma once

#include "base/report.h"
#include "media/capture/camera_modes.h"
#include "media/capture/devices.h"
#include "media/capture/steady_cameras.h"
#include "media/sources/media_factory.h"
#include "studio/sources/camera_opening.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace nimbara {

/// Begins to open cameras, the principal one and those of layers. A camera that its media service
/// opened without handing over a picture, and that delivers directly, is told of and opened
/// directly from then on, until other cameras are listed; so is a mode put last in which it keeps
/// coming to a halt. Interface thread only.
class CameraOpenings {
public:
    /// `frame`: the size of the stream program, asked anew at each use. `factory`, `steady`,
    /// `modes`: outlive this, which outlives all that it begins.
    CameraOpenings(const Clock &clock,
        const MediaFactory &factory,
        std::function<FrameSize()> frame,
        SteadyCameras &steady,
        const CameraModes &modes,
        Report status);

    /// `chosen`: the mode to be tried first. `before`: what holds the device as yet. Throws `Error`
    /// when it cannot be built.
    [[nodiscard]] std::unique_ptr<CameraOpening> begin(const CaptureDevice &device,
        const std::optional<DeviceMode> &chosen,
        DeviceHolders before);
    /// The mode that the operator chose for the camera; none: the best.
    [[nodiscard]] std::optional<DeviceMode> chosen(const CaptureDevice &device) const
    {
        return m_modes.chosen(device);
    }
    /// The opening has come to a picture.
    void note(const CaptureDevice &device, const CameraOpening &opening);

    static constexpr std::int64_t soonUs = 30'000'000;
    /// The camera, shown since `sinceUs`, delivers no more, without an error. A mode that has done
    /// so within `soonUs` twice in a row is more than its bus or its cable carries: it is tried
    /// after all others from then on, until other cameras are listed.
    void noteHalt(const CaptureDevice &device, const Media &camera, std::int64_t sinceUs);
    /// Such a mode of the device was noted.
    [[nodiscard]] bool hasHalting(const CaptureDevice &device) const;
    /// The operator asks for the device: its modes are tried as if none had been noted.
    void forgetHalts(const CaptureDevice &device);

private:
    /// A mode that came to a halt soon.
    struct Halt {
        CaptureDevice device;
        DeviceMode mode;
        int times = 0; ///< in a row
        std::uint64_t changes = 0; ///< of the list, the last time
    };
    /// A camera that is opened directly.
    struct Direct {
        CaptureDevice device;
        std::uint64_t changes = 0; ///< of the list, when it was found out
    };
    [[nodiscard]] bool isDirect(const CaptureDevice &device) const;
    [[nodiscard]] bool isHalting(const Halt &halt, const CaptureDevice &device) const;
    [[nodiscard]] std::vector<DeviceMode> haltingLast(std::vector<DeviceMode> modes,
        const CaptureDevice &device) const;
    [[nodiscard]] CameraOpener opener(const CaptureDevice &device, FrameSize size);

    const Clock &m_clock;
    const MediaFactory &m_factory;
    std::function<FrameSize()> m_frame;
    SteadyCameras &m_steady;
    const CameraModes &m_modes;
    Report m_status;
    std::vector<Direct> m_direct;
    std::vector<Halt> m_halts;
};

} // namespace nimbara
