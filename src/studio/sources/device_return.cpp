#include "studio/sources/device_return.h"

#include "base/log.h"

#include <utility>

namespace nimbara {

Message searchSilentText()
{
    return "La búsqueda de dispositivos no responde; se prueba el dispositivo como estaba.";
}

DeviceReturn::DeviceReturn(const Clock &clock, Report status)
    : m_clock(clock)
    , m_status(std::move(status))
{
}

std::optional<CaptureDevice> DeviceReturn::poll(const CaptureDevice *lost)
{
    const std::optional<DeviceLists> present = m_search.poll();
    m_silenceTold = m_silenceTold && !present;
    if (lost == nullptr) {
        return std::nullopt;
    }
    if (present) {
        const bool video = lost->kind == DeviceKind::Video;
        const CaptureDevice *found = findAgain(video ? present->video : present->audio, *lost);
        logLine(QStringLiteral("%1: %2").arg(lost->name,
            found != nullptr ? QStringLiteral("encontrado, se abre")
                             : QStringLiteral("no está conectado")));
        return found != nullptr ? std::optional(*found) : std::nullopt;
    }
    const std::int64_t waited = m_clock.monotonicUs() - m_lastTry;
    if (m_search.running()) {
        return waited > patienceUs ? remembered(*lost) : std::nullopt;
    }
    if (waited > spacingUs) {
        m_lastTry = m_clock.monotonicUs();
        m_search.start();
    }
    return std::nullopt;
}

/// Another search would hang behind the one that does.
std::optional<CaptureDevice> DeviceReturn::remembered(const CaptureDevice &lost)
{
    m_lastTry = m_clock.monotonicUs();
    if (!std::exchange(m_silenceTold, true)) {
        m_status(searchSilentText());
    }
    return lost;
}

} // namespace nimbara
