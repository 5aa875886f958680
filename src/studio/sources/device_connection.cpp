#include "studio/sources/device_connection.h"

#include "base/error.h"
#include "base/log.h"
#include "media/capture/media_service.h"

#include <algorithm>
#include <array>
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
constexpr std::int64_t longOpeningUs = 2'000'000;

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

/// The same device, whatever its numbers are by now.
bool isSame(const std::vector<CaptureDevice> &present,
    const CaptureDevice *device,
    const std::optional<CaptureDevice> &other)
{
    return device != nullptr && device == deviceAmong(present, other);
}

} // namespace

DeviceConnection::DeviceConnection(const Clock &clock,
    std::unique_ptr<CapturePermission> permission,
    Sources &sources,
    AudioInput &audio,
    Report status)
    : m_clock(clock)
    , m_permission(std::move(permission))
    , m_sources(sources)
    , m_audio(audio)
    , m_status(std::move(status))
{
}

void DeviceConnection::refreshDevices()
{
    m_discovery.start();
    m_listAsked = m_clock.monotonicUs();
}

void DeviceConnection::poll()
{
    collectList();
    collectLookup();
    followOpening();
    lookAtArrivals();
}

void DeviceConnection::lookAtArrivals()
{
    const std::int64_t now = m_clock.monotonicUs();
    if (!m_arrivals.isDue(now)) {
        return;
    }
    if (const auto arrivals = m_arrivals.poll(m_sources.openCameras(), now)) {
        Q_EMIT arrivalsChanged(*arrivals);
    }
}

bool DeviceConnection::waitedLong(std::int64_t sinceUs) const
{
    return m_clock.monotonicUs() - sinceUs > DeviceReturn::patienceUs;
}

void DeviceConnection::collectList()
{
    if (std::optional<DeviceLists> found = m_discovery.poll()) {
        m_listAsked.reset();
        m_devices = std::move(*found);
        Q_EMIT devicesFound(m_devices);
        if (hasMediaServiceEnded()) {
            m_status("El servicio de sonido y cámaras del equipo se reinició: lo que conectes "
                     "ahora aparece al abrir otra vez el programa.");
        }
    } else if (m_listAsked && waitedLong(*m_listAsked)) {
        m_listAsked.reset();
        m_status("La búsqueda de dispositivos no responde; la lista queda como estaba.");
    }
}

void DeviceConnection::collectLookup()
{
    const std::optional<DeviceLists> present = m_lookup.poll();
    if (!m_wanted || (!present && !waitedLong(m_wantedSince))) {
        return;
    }
    if (!present) {
        m_status(searchSilentText());
    }
    connectWanted(*std::exchange(m_wanted, std::nullopt), present ? *present : m_devices);
}

/// Devices that refuse are told of by those that open them.
void DeviceConnection::followOpening()
{
    const std::array outcomes { m_sources.cameraOpening(), m_audio.opening() };
    const auto any = [&](Opening outcome) {
        return std::find(outcomes.begin(), outcomes.end(), outcome) != outcomes.end();
    };
    if (!m_opening) {
        return;
    }
    if (any(Opening::Underway)) {
        if (m_openingSince && m_clock.monotonicUs() - *m_openingSince > longOpeningUs) {
            m_openingSince.reset();
            m_status("Abriendo las fuentes; un dispositivo tarda en responder.");
        }
        return;
    }
    m_opening = false;
    if (!any(Opening::Refused)) {
        m_status("Fuentes abiertas. Prepara una escena y pulsa AL AIRE.");
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
        m_wantedSince = m_clock.monotonicUs();
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
    const Outcome camera = connectCamera(wanted, present.video);
    m_sources.applyModes();
    m_opening = camera != Outcome::Failed
        && connectAudio(wanted, present.audio) == Outcome::Connected
        && camera == Outcome::Connected;
    m_openingSince = m_clock.monotonicUs();
    followOpening();
}

DeviceConnection::Outcome DeviceConnection::connectCamera(const Wanted &wanted,
    const std::vector<CaptureDevice> &present)
{
    const bool bars = wanted.choice.camera == 0;
    const CaptureDevice *device = deviceAmong(present, wanted.camera);
    if (device != nullptr && isSame(present, device, m_sources.offeredDevice())
        && m_sources.offeredMode() == wanted.choice.mode) {
        m_sources.claimCamera();
        return Outcome::Connected;
    }
    m_sources.withdrawCamera();
    if (!bars && device == nullptr) {
        m_status(Message("Cámara: ") + awayText);
        return Outcome::Away;
    }
    const bool works = m_sources.camera() && m_sources.camera()->active();
    const bool shown = bars
        ? m_sources.cameraIndex() == Sources::testBars && !m_sources.cameraDevice()
        : isSame(present, device, m_sources.cameraDevice())
            && m_sources.chosenMode() == wanted.choice.mode && !m_sources.mayDoBetter();
    if (works && shown) {
        return Outcome::Connected;
    }
    try {
        openCamera(device, wanted.choice);
    } catch (const Error &error) {
        m_status("Cámara: " + error.message());
        return Outcome::Failed;
    }
    return Outcome::Connected;
}

/// No device: test bars.
void DeviceConnection::openCamera(const CaptureDevice *device, const DeviceChoice &choice)
{
    const std::int32_t index = choice.camera - fixedCameras;
    logLine(QStringLiteral("Abrir cámara índice %1 : %2")
                .arg(index)
                .arg(device == nullptr ? QStringLiteral("Barras de prueba") : device->name));
    m_sources.offerCamera(index,
        device == nullptr ? std::nullopt : std::optional(*device),
        choice.mode);
}

DeviceConnection::Outcome DeviceConnection::connectAudio(const Wanted &wanted,
    const std::vector<CaptureDevice> &present)
{
    const bool tone = wanted.choice.audio > 0 && wanted.choice.audio < fixedAudio;
    const CaptureDevice *device = deviceAmong(present, wanted.audio);
    if (wanted.choice.audio == 0) {
        m_audio.setCapture(nullptr);
        return Outcome::Connected;
    }
    if (device != nullptr && isSame(present, device, m_audio.offered())) {
        m_audio.claimOffer();
        return Outcome::Connected;
    }
    m_audio.withdrawOffer();
    if (!tone && device == nullptr) {
        m_status(Message("Audio: ") + awayText);
        return Outcome::Away;
    }
    const bool heard = tone ? !m_audio.device() : isSame(present, device, m_audio.device());
    if (heard && m_audio.capture() != nullptr) {
        return Outcome::Connected;
    }
    try {
        m_audio.offer(
            std::make_unique<AudioCapture>(m_clock, tone ? nullptr : device->device.get()),
            tone ? std::nullopt : std::optional(*device));
    } catch (const Error &error) {
        m_status("Audio: " + error.message());
        return Outcome::Failed;
    }
    return Outcome::Connected;
}

} // namespace nimbara
