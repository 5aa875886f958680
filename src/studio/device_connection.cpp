#include "studio/device_connection.h"

#include "app/error.h"
#include "app/i18n.h"
#include "app/log.h"

namespace nimbara {

using nimbara_i18n::tr;

namespace {

QStringList namesOf(const std::vector<CaptureDevice> &devices)
{
    QStringList names;
    for (const CaptureDevice &device : devices) {
        names << device.name;
    }
    return names;
}

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

/// The device behind a list entry whose first `fixed` entries are no devices; none for those.
const CaptureDevice *
deviceOf(const std::vector<CaptureDevice> &devices, std::int32_t entry, std::int32_t fixed)
{
    const auto place = static_cast<std::size_t>(entry - fixed);
    return entry >= fixed && place < devices.size() ? &devices[place] : nullptr;
}

constexpr std::int32_t fixedCameras = 1;
constexpr std::int32_t fixedAudio = 2;

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
        onDevices(namesOf(m_devices.video), namesOf(m_devices.audio));
    }
}

void DeviceConnection::connectSources(const DeviceChoice &choice)
{
    const bool allowed = (choice.camera < fixedCameras || mayUse(CaptureKind::Camera, choice))
        && (choice.audio < fixedAudio || mayUse(CaptureKind::Microphone, choice));
    if (!allowed) {
        return;
    }
    m_audio.setCapture(nullptr);
    if (connectCamera(choice.camera) && connectAudio(choice.audio)) {
        m_status(tr("Fuentes abiertas. Prepara una escena y pulsa AL AIRE."));
    }
}

bool DeviceConnection::mayUse(CaptureKind kind, const DeviceChoice &choice)
{
    const PermissionTexts &texts = kind == CaptureKind::Camera ? cameraTexts : microphoneTexts;
    switch (m_permission->status(kind)) {
    case PermissionStatus::Granted:
        return true;
    case PermissionStatus::Denied:
        m_status(tr(texts.denied));
        return false;
    case PermissionStatus::Undetermined:
        m_status(tr(texts.asking));
        m_permission->request(kind, [this, choice] { connectSources(choice); });
        return false;
    }
    return false;
}

bool DeviceConnection::showsAlready(std::int32_t entry) const
{
    if (!m_sources.camera() || !m_sources.camera()->active()) {
        return false;
    }
    const CaptureDevice *device = deviceOf(m_devices.video, entry, fixedCameras);
    const std::optional<CaptureDevice> &shown = m_sources.cameraDevice();
    if (device == nullptr || !shown) {
        return device == nullptr && !shown && m_sources.cameraIndex() == entry - fixedCameras;
    }
    return device->identity == shown->identity && device->place == shown->place;
}

bool DeviceConnection::connectCamera(std::int32_t entry)
{
    const CaptureDevice *device = deviceOf(m_devices.video, entry, fixedCameras);
    const std::int32_t index = entry - fixedCameras;
    logLine(QStringLiteral("Abrir cámara índice %1 : %2")
                .arg(index)
                .arg(device != nullptr ? device->name : tr("Barras de prueba")));
    if (showsAlready(entry)) {
        return true;
    }
    try {
        if (device != nullptr) {
            m_sources.setCamera(m_factory.camera(m_stage.streamFrame(), device->device.get()),
                index,
                *device);
        } else {
            m_sources.setBars(m_factory.testBars(m_stage.streamFrame()), Sources::testBars);
        }
    } catch (const Error &error) {
        m_status(tr("Cámara: ") + tr(error.text()));
        return false;
    }
    logLine(QStringLiteral("Cámara creada: ") + m_sources.camera()->label());
    return true;
}

bool DeviceConnection::connectAudio(std::int32_t entry)
{
    if (entry <= 0) {
        return true;
    }
    const CaptureDevice *device = deviceOf(m_devices.audio, entry, fixedAudio);
    try {
        m_audio.setCapture(std::make_unique<AudioCapture>(m_clock,
            device != nullptr ? device->device.get() : nullptr));
    } catch (const Error &error) {
        m_status(tr("Audio: ") + tr(error.text()));
        return false;
    }
    return true;
}

} // namespace nimbara
