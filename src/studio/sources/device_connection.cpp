#include "studio/sources/device_connection.h"

#include "base/error.h"
#include "base/log.h"

#include <utility>

namespace nimbara {

namespace {

struct PermissionTexts {
    const char *denied;
    const char *asking;
};

constexpr PermissionTexts cameraTexts {
    "macOS bloqueó la cámara. Ve a Configuración del Sistema → Privacidad y seguridad → Cámara y "
    "activa Vesperline.",
    "Pidiendo permiso de cámara a macOS...",
};
constexpr PermissionTexts microphoneTexts {
    "macOS bloqueó el micrófono. Ve a Configuración del Sistema → Privacidad y seguridad → "
    "Micrófono "
    "y activa Vesperline.",
    "Pidiendo permiso de micrófono a macOS...",
};

constexpr std::int32_t fixedCameras = 1;
constexpr std::int32_t fixedAudio = 2;

/// The device behind a list entry whose first `fixed` entries are no devices; none for those and
/// for an entry that is not listed.
std::optional<CaptureDevice>
deviceOf(const std::vector<CaptureDevice> &devices, std::int32_t entry, std::int32_t fixed)
{
    const auto place = static_cast<std::size_t>(entry - fixed);
    return entry >= fixed && place < devices.size() ? std::optional(devices[place]) : std::nullopt;
}

/// The chosen device as it is there now; null when it is not.
const CaptureDevice *deviceAmong(const std::vector<CaptureDevice> &present,
    const std::optional<CaptureDevice> &chosen)
{
    return chosen ? findAgain(present, *chosen) : nullptr;
}

constexpr const char *awayText = "el dispositivo no está conectado";

} // namespace

DeviceConnection::DeviceConnection(const Clock &clock,
    const MediaFactory &factory,
    std::unique_ptr<CapturePermission> permission,
    const Stage &stage,
    Sources &sources,
    AudioInput &audio,
    Report status)
    : m_clock(clock)
    , m_factory(factory)
    , m_permission(std::move(permission))
    , m_stage(stage)
    , m_sources(sources)
    , m_audio(audio)
    , m_status(std::move(status))
{
}

void DeviceConnection::refreshDevices()
{
    m_discovery.start();
}

void DeviceConnection::poll()
{
    if (std::optional<DeviceLists> found = m_discovery.poll()) {
        m_devices = std::move(*found);
        Q_EMIT devicesFound(m_devices);
    }
    const std::optional<DeviceLists> present = m_lookup.poll();
    if (present && m_wanted) {
        connectWanted(*std::exchange(m_wanted, std::nullopt), *present);
    }
}

void DeviceConnection::connectSources(const DeviceChoice &choice)
{
    m_wanted.reset();
    const bool allowed = (choice.camera < fixedCameras || mayUse(CaptureKind::Camera))
        && (choice.audio < fixedAudio || mayUse(CaptureKind::Microphone));
    if (!allowed) {
        return;
    }
    Wanted wanted { choice,
        deviceOf(m_devices.video, choice.camera, fixedCameras),
        deviceOf(m_devices.audio, choice.audio, fixedAudio) };
    if (!wanted.camera && !wanted.audio) {
        connectWanted(wanted, {});
        return;
    }
    m_lookup.start();
    if (m_lookup.running()) {
        m_wanted = std::move(wanted);
    } else {
        connectWanted(wanted, m_devices); // no thread to be had
    }
}

bool DeviceConnection::mayUse(CaptureKind kind)
{
    const PermissionTexts &texts = kind == CaptureKind::Camera ? cameraTexts : microphoneTexts;
    switch (m_permission->status(kind)) {
    case PermissionStatus::Granted:
        return true;
    case PermissionStatus::Denied:
        m_status(texts.denied);
        return false;
    case PermissionStatus::Undetermined:
        m_status(texts.asking);
        m_permission->request(kind, [this] { Q_EMIT permissionAnswered(); });
        return false;
    }
    return false;
}

/// A camera that is away keeps the sound from nothing: the microphone is connected all the same.
void DeviceConnection::connectWanted(const Wanted &wanted, const DeviceLists &present)
{
    m_audio.setCapture(nullptr);
    const Outcome camera = connectCamera(wanted, present.video);
    if (camera != Outcome::Failed && connectAudio(wanted, present.audio)
        && camera == Outcome::Connected) {
        m_status("Fuentes abiertas. Prepara una escena y pulsa AL AIRE.");
    }
}

/// A camera that was opened again by itself is the chosen one, whatever its number is by now.
bool DeviceConnection::showsAlready(const Wanted &wanted,
    const std::vector<CaptureDevice> &present) const
{
    if (!m_sources.camera() || !m_sources.camera()->active()) {
        return false;
    }
    const std::optional<CaptureDevice> &shown = m_sources.cameraDevice();
    if (!wanted.camera || !shown) {
        return !wanted.camera && !shown
            && m_sources.cameraIndex() == wanted.choice.camera - fixedCameras;
    }
    const CaptureDevice *found = findAgain(present, *wanted.camera);
    return found != nullptr && found == findAgain(present, *shown);
}

DeviceConnection::Outcome DeviceConnection::connectCamera(const Wanted &wanted,
    const std::vector<CaptureDevice> &present)
{
    const bool bars = wanted.choice.camera == 0;
    const std::int32_t index = wanted.choice.camera - fixedCameras;
    const QString name = wanted.camera ? wanted.camera->name : QString();
    logLine(QStringLiteral("Abrir cámara índice %1 : %2")
                .arg(index)
                .arg(bars ? QStringLiteral("Barras de prueba") : name));
    if (showsAlready(wanted, present)) {
        return Outcome::Connected;
    }
    const CaptureDevice *device = deviceAmong(present, wanted.camera);
    if (!bars && device == nullptr) {
        m_status(Message("Cámara: ") + awayText);
        return Outcome::Away;
    }
    try {
        if (bars) {
            m_sources.setBars(m_factory.testBars(m_stage.streamFrame()), Sources::testBars);
        } else {
            m_sources.setCamera(m_factory.camera(m_stage.streamFrame(), device->device.get()),
                index,
                *device);
        }
    } catch (const Error &error) {
        m_status("Cámara: " + error.message());
        return Outcome::Failed;
    }
    logLine(QStringLiteral("Cámara creada: ") + m_sources.camera()->label());
    return Outcome::Connected;
}

bool DeviceConnection::connectAudio(const Wanted &wanted, const std::vector<CaptureDevice> &present)
{
    if (wanted.choice.audio == 0) {
        return true;
    }
    try {
        const bool tone = wanted.choice.audio > 0 && wanted.choice.audio < fixedAudio;
        const CaptureDevice *device = deviceAmong(present, wanted.audio);
        if (!tone && device == nullptr) {
            m_status(Message("Audio: ") + awayText);
            return false;
        }
        m_audio.setCapture(
            std::make_unique<AudioCapture>(m_clock, tone ? nullptr : device->device.get()));
    } catch (const Error &error) {
        m_status("Audio: " + error.message());
        return false;
    }
    return true;
}

} // namespace nimbara
