#include "studio/sources/camera_arrival.h"

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

Message written(const std::optional<DeviceMode> &mode)
{
    return mode ? Message::verbatim(modeText(*mode)) : Message("lo que ofrezca");
}

using Presence = std::weak_ptr<const void>;

Presence presenceOf(const Media *camera)
{
    return camera != nullptr ? camera->presence() : Presence();
}

/// True of two that are none, too.
bool isSamePresence(const Presence &one, const Presence &other)
{
    return !one.owner_before(other) && !other.owner_before(one);
}

} // namespace

void ArrivalRate::look(std::uint64_t arrived, std::int64_t nowUs)
{
    m_looks.push_back({ nowUs, arrived });
    while (m_looks.size() > 2 && nowUs - m_looks[1].timeUs >= windowUs) {
        m_looks.pop_front();
    }
}

bool ArrivalRate::isDue(std::int64_t nowUs) const
{
    return m_looks.empty() || nowUs - m_looks.back().timeUs >= spacingUs;
}

std::int64_t ArrivalRate::spanUs() const
{
    return m_looks.empty() ? 0 : m_looks.back().timeUs - m_looks.front().timeUs;
}

std::optional<double> ArrivalRate::perSecond() const
{
    if (spanUs() < spacingUs) {
        return std::nullopt;
    }
    return static_cast<double>(m_looks.back().arrived - m_looks.front().arrived) * 1e6
        / static_cast<double>(spanUs());
}

bool ArrivalRate::isShortOf(double duePerSecond) const
{
    const auto isWell = [&](const Look &from, const Look &to) {
        return static_cast<double>(to.arrived - from.arrived) * 1e6
            >= duePerSecond * enough * static_cast<double>(to.timeUs - from.timeUs);
    };
    return spanUs() >= windowUs
        && std::adjacent_find(m_looks.begin(), m_looks.end(), isWell) == m_looks.end();
}

std::optional<Message> CameraArrival::poll(const Media *camera, std::int64_t nowUs)
{
    if (const Presence present = presenceOf(camera); !isSamePresence(present, m_camera)) {
        m_camera = present;
        m_rate = {};
    } else if (!m_rate.isDue(nowUs)) {
        return std::nullopt;
    }
    m_rate.look(camera != nullptr ? camera->arrivedCount() : 0, nowUs);
    Message now = camera != nullptr && camera->isDevice() ? text(*camera) : Message();
    if (m_told && *m_told == now) {
        return std::nullopt;
    }
    return m_told = std::move(now);
}

Message CameraArrival::text(const Media &camera) const
{
    const std::optional<DeviceMode> &wanted = camera.wantedMode();
    const std::optional<DeviceMode> &agreed = camera.agreedMode();
    const std::optional<double> rate = m_rate.perSecond();
    if (!agreed || !rate) {
        return { "Pedido: %1", { written(wanted) } };
    }
    Message text("Pedido: %1. Acordado: %2. Llega: %3 × %4, %5 imágenes por segundo.",
        { written(wanted),
            written(agreed),
            Message::verbatim(QString::number(camera.receivedSize().width)),
            Message::verbatim(QString::number(camera.receivedSize().height)),
            Message::verbatim(QString::number(*rate, 'f', 1)) });
    const FrameRate due = agreed->rate.isKnown() || !wanted ? agreed->rate : wanted->rate;
    if (!due.isKnown() || !m_rate.isShortOf(due.perSecond())) {
        return text;
    }
    return text + Message(" Llegan menos de las acordadas: suele faltar luz.");
}

bool CameraArrivals::isDue(std::int64_t nowUs) const
{
    return !m_lookedUs || nowUs - *m_lookedUs >= ArrivalRate::spacingUs;
}

std::optional<std::vector<ArrivalText>> CameraArrivals::poll(const std::vector<OpenCamera> &cameras,
    std::int64_t nowUs)
{
    m_lookedUs = nowUs;
    bool isOther = follow(cameras);
    for (std::size_t at = 0; at < cameras.size(); ++at) {
        Watched &watched = m_watched[at];
        if (auto text = watched.arrival.poll(cameras[at].media, nowUs)) {
            watched.text = std::move(*text);
            isOther = true;
        }
    }
    if (!isOther) {
        return std::nullopt;
    }
    std::vector<ArrivalText> texts;
    for (const Watched &each : m_watched) {
        texts.push_back({ each.device, each.text });
    }
    return texts;
}

/// One that stays is counted on. True when they are others than before.
bool CameraArrivals::follow(const std::vector<OpenCamera> &cameras)
{
    const auto isIt = [](const Watched &watched, const OpenCamera &camera) {
        const bool isDevice = camera.device != nullptr;
        return isSamePresence(watched.presence, presenceOf(camera.media))
            && watched.device.has_value() == isDevice
            && (!isDevice || isSame(*watched.device, *camera.device));
    };
    if (std::equal(m_watched.begin(), m_watched.end(), cameras.begin(), cameras.end(), isIt)) {
        return false;
    }
    std::vector<Watched> before = std::exchange(m_watched, {});
    for (const OpenCamera &camera : cameras) {
        const auto found = std::find_if(before.begin(), before.end(), [&](const Watched &watched) {
            return isIt(watched, camera);
        });
        m_watched.push_back(found != before.end() ? std::move(*found) : Watched {});
        m_watched.back().presence = presenceOf(camera.media);
        m_watched.back().device
            = camera.device != nullptr ? std::optional(*camera.device) : std::nullopt;
    }
    return true;
}

} // namespace nimbara
