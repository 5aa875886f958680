#include "studio/sources/camera_arrival.h"

#include <utility>

namespace nimbara {

namespace {

Message written(const std::optional<DeviceMode> &mode)
{
    return mode ? Message::verbatim(modeText(*mode)) : Message("lo que ofrezca");
}

} // namespace

std::optional<Message> CameraArrival::poll(const Media *camera, std::int64_t nowUs)
{
    const bool isAnother = camera != m_camera;
    if (!isAnother && !m_looks.empty() && nowUs - m_looks.back().timeUs < spacingUs) {
        return std::nullopt;
    }
    if (isAnother) {
        m_camera = camera;
        m_looks.clear();
    }
    look(camera, nowUs);
    Message now = camera != nullptr && camera->isDevice() ? text(*camera) : Message();
    if (m_told && *m_told == now) {
        return std::nullopt;
    }
    return m_told = std::move(now);
}

void CameraArrival::look(const Media *camera, std::int64_t nowUs)
{
    m_looks.push_back({ nowUs, camera != nullptr ? camera->arrivedCount() : 0 });
    while (m_looks.size() > 2 && nowUs - m_looks[1].timeUs >= windowUs) {
        m_looks.pop_front();
    }
}

std::optional<double> CameraArrival::perSecond() const
{
    const std::int64_t spanUs = m_looks.back().timeUs - m_looks.front().timeUs;
    if (spanUs < spacingUs) {
        return std::nullopt;
    }
    return static_cast<double>(m_looks.back().arrived - m_looks.front().arrived) * 1e6
        / static_cast<double>(spanUs);
}

Message CameraArrival::text(const Media &camera) const
{
    const std::optional<DeviceMode> &agreed = camera.agreedMode();
    const std::optional<double> rate = perSecond();
    if (!agreed || !rate) {
        return { "Pedido: %1", { written(camera.wantedMode()) } };
    }
    Message text("Pedido: %1. Acordado: %2. Llega: %3 × %4, %5 imágenes por segundo.",
        { written(camera.wantedMode()),
            written(agreed),
            Message::verbatim(QString::number(camera.receivedSize().width)),
            Message::verbatim(QString::number(camera.receivedSize().height)),
            Message::verbatim(QString::number(*rate, 'f', 1)) });
    const bool isKnown
        = agreed->rate.isKnown() && m_looks.back().timeUs - m_looks.front().timeUs >= windowUs;
    if (!isKnown || *rate >= agreed->rate.perSecond() * enough) {
        return text;
    }
    return text + Message(" Llegan menos de las acordadas: suele faltar luz.");
}

} // namespace nimbara
