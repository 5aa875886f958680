#include "studio/sources/camera_openings.h"

#include <algorithm>
#include <utility>

namespace nimbara {

CameraOpenings::CameraOpenings(const Clock &clock,
    const MediaFactory &factory,
    std::function<FrameSize()> frame,
    SteadyCameras &steady,
    const CameraModes &modes,
    Report status)
    : m_clock(clock)
    , m_factory(factory)
    , m_frame(std::move(frame))
    , m_steady(steady)
    , m_modes(modes)
    , m_status(std::move(status))
{
}

std::unique_ptr<CameraOpening> CameraOpenings::begin(const CaptureDevice &device,
    const std::optional<DeviceMode> &chosen,
    DeviceHolders before)
{
    const FrameSize size = m_frame();
    const DirectRoad direct = directFile(device.device.get()).isEmpty() ? DirectRoad::None
        : isDirect(device)                                              ? DirectRoad::First
                                                                        : DirectRoad::WhenSilent;
    return std::make_unique<CameraOpening>(m_clock,
        opener(device, size),
        modesToTry(device.device.get(), size, chosen),
        std::move(before),
        direct);
}

/// The operator is told once that the road is another one.
CameraOpener CameraOpenings::opener(const CaptureDevice &device, FrameSize size)
{
    return [this, size, device, isTold = isDirect(device)](const CameraAttempt &attempt) mutable {
        if (attempt.road == DeviceRoad::Video4Linux && !std::exchange(isTold, true)) {
            m_status(Message(
                "El servicio de medios no entrega imágenes de %1; se abre directamente (V4L2).",
                { Message::verbatim(device.name) }));
        }
        m_steady.prepare(device);
        return m_factory.camera(size, device.device.get(), attempt.mode, attempt.road);
    };
}

bool CameraOpenings::isDirect(const CaptureDevice &device) const
{
    return std::any_of(m_direct.begin(), m_direct.end(), [&](const Direct &direct) {
        return direct.changes == DeviceDiscovery::changes() && isSame(direct.device, device);
    });
}

void CameraOpenings::note(const CaptureDevice &device, const CameraOpening &opening)
{
    std::erase_if(m_direct,
        [](const Direct &direct) { return direct.changes != DeviceDiscovery::changes(); });
    if (opening.attempt().road == DeviceRoad::Video4Linux && !isDirect(device)) {
        m_direct.push_back({ device, DeviceDiscovery::changes() });
    }
}

} // namespace nimbara
