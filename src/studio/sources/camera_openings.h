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
/// directly from then on, until other cameras are listed. Interface thread only.
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

private:
    /// A camera that is opened directly.
    struct Direct {
        CaptureDevice device;
        std::uint64_t changes = 0; ///< of the list, when it was found out
    };
    [[nodiscard]] bool isDirect(const CaptureDevice &device) const;
    [[nodiscard]] CameraOpener opener(const CaptureDevice &device, FrameSize size);

    const Clock &m_clock;
    const MediaFactory &m_factory;
    std::function<FrameSize()> m_frame;
    SteadyCameras &m_steady;
    const CameraModes &m_modes;
    Report m_status;
    std::vector<Direct> m_direct;
};

} // namespace nimbara
