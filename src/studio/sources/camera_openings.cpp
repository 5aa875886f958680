#include "studio/sources/camera_openings.h"

#include "base/log.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace nimbara {

namespace {

constexpr int tooOften = 2;

} // namespace

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
        haltingLast(modesToTry(device.device.get(), size, chosen), device),
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

bool CameraOpenings::isHalting(const Halt &halt, const CaptureDevice &device) const
{
    return halt.times >= tooOften && halt.changes == DeviceDiscovery::changes()
        && isSame(halt.device, device);
}

bool CameraOpenings::hasHalting(const CaptureDevice &device) const
{
    return std::any_of(m_halts.begin(), m_halts.end(), [&](const Halt &halt) {
        return isHalting(halt, device);
    });
}

std::vector<DeviceMode> CameraOpenings::haltingLast(std::vector<DeviceMode> modes,
    const CaptureDevice &device) const
{
    std::stable_partition(modes.begin(), modes.end(), [&](const DeviceMode &mode) {
        return std::none_of(m_halts.begin(), m_halts.end(), [&](const Halt &halt) {
            return halt.mode == mode && isHalting(halt, device);
        });
    });
    return modes;
}

void CameraOpenings::noteHalt(const CaptureDevice &device,
    const Media &camera,
    std::int64_t sinceUs)
{
    const std::optional<DeviceMode> &mode = camera.wantedMode();
    if (!mode) {
        return;
    }
    const auto isIt
        = [&](const Halt &halt) { return halt.mode == *mode && isSame(halt.device, device); };
    if (m_clock.monotonicUs() - sinceUs > soonUs) {
        std::erase_if(m_halts, isIt); // it works, by and large
        return;
    }
    auto halt = std::find_if(m_halts.begin(), m_halts.end(), isIt);
    if (halt == m_halts.end()) {
        m_halts.push_back({ device, *mode });
        halt = std::prev(m_halts.end());
    }
    const std::uint64_t changes = DeviceDiscovery::changes();
    halt->times = std::exchange(halt->changes, changes) == changes ? halt->times + 1 : 1;
    if (halt->times == tooOften) {
        logLine(QStringLiteral("Cámara: este modo se detiene una y otra vez: ") + camera.label());
    }
}

void CameraOpenings::forgetHalts(const CaptureDevice &device)
{
    std::erase_if(m_halts, [&](const Halt &halt) { return isSame(halt.device, device); });
}

} // namespace nimbara
