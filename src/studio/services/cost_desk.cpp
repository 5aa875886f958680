#include "studio/services/cost_desk.h"

#include <algorithm>
#include <utility>

namespace nimbara {

namespace {

constexpr std::array<const char *, cost::services> settingNames { "live",
    "phrases",
    "translation",
    "voice" };

QString settingOf(std::size_t service, const char *what)
{
    return QStringLiteral("translation_prices/%1_%2")
        .arg(QLatin1String(settingNames.at(service)), QLatin1String(what));
}

QString number(double value, int decimals)
{
    return QString::number(value, 'f', decimals);
}

} // namespace

CostDesk::CostDesk(QSettings &settings, Notices &notices)
    : m_settings(settings)
    , m_notices(notices)
    , m_prices(cost::usualPrices())
{
    for (std::size_t i = 0; i < cost::services; ++i) {
        const auto read = [&](const char *what, double &value) {
            value = std::max(m_settings.value(settingOf(i, what), value).toDouble(), 0.0);
        };
        read("minute", m_prices.at(i).perMinute);
        read("request", m_prices.at(i).perRequest);
        read("limit", m_prices.at(i).limit);
    }
}

void CostDesk::follow(const cost::Usage &usage)
{
    for (std::size_t i = 0; i < cost::services; ++i) {
        const cost::Use &before = m_usage.at(i);
        if (usage.at(i).requests < before.requests || usage.at(i).us < before.us) {
            m_isWarned = {}; // a new run; a mark that nobody has read stands
        }
    }
    m_usage = usage;
    warn();
    Q_EMIT changed();
}

void CostDesk::setPrice(cost::Service service, const cost::Price &price)
{
    const auto place = static_cast<std::size_t>(service);
    const cost::Price kept { std::max(price.perMinute, 0.0),
        std::max(price.perRequest, 0.0),
        std::max(price.limit, 0.0) };
    if (kept == m_prices.at(place)) {
        return;
    }
    m_prices.at(place) = kept;
    m_settings.setValue(settingOf(place, "minute"), kept.perMinute);
    m_settings.setValue(settingOf(place, "request"), kept.perRequest);
    m_settings.setValue(settingOf(place, "limit"), kept.limit);
    if (!isNearLimit(service)) {
        m_isWarned.at(place) = false;
        m_notices.withdraw(warning(service));
    }
    warn();
    Q_EMIT changed();
}

bool CostDesk::isNearLimit(cost::Service service) const
{
    const auto place = static_cast<std::size_t>(service);
    return cost::isNearLimit(m_usage.at(place), m_prices.at(place));
}

bool CostDesk::isAnyNearLimit() const
{
    for (std::size_t i = 0; i < cost::services; ++i) {
        if (isNearLimit(static_cast<cost::Service>(i))) {
            return true;
        }
    }
    return false;
}

/// Once for each service and run.
void CostDesk::warn()
{
    for (std::size_t i = 0; i < cost::services; ++i) {
        const auto service = static_cast<cost::Service>(i);
        if (isNearLimit(service) && !std::exchange(m_isWarned.at(i), true)) {
            m_notices.raise(warning(service));
            Q_EMIT said(warning(service));
        }
    }
}

Message CostDesk::warning(cost::Service service)
{
    return Message("%1: el gasto estimado pasó del 80 % de su límite. Nada se detiene.",
        { nameOf(service) });
}

Message CostDesk::summary() const
{
    std::int64_t requests = 0;
    for (const cost::Use &use : m_usage) {
        requests += use.requests;
    }
    const auto usOf = [this](cost::Service service) {
        return m_usage.at(static_cast<std::size_t>(service)).us;
    };
    const std::int64_t us = usOf(cost::Service::Live) + usOf(cost::Service::Phrases);
    if (requests == 0 && us == 0) {
        return {};
    }
    return Message("Gasto estimado %1 · %2 min · %3 pedidos",
        { Message::verbatim(number(total(), 2)),
            Message::verbatim(number(static_cast<double>(us) / 60'000'000, 1)),
            Message::verbatim(QString::number(requests)) });
}

Message CostDesk::nameOf(cost::Service service)
{
    switch (service) {
    case cost::Service::Live:
        return "Voz en vivo";
    case cost::Service::Phrases:
        return "Frases enviadas";
    case cost::Service::Translation:
        return "Textos traducidos";
    case cost::Service::Voice:
        break;
    }
    return "Voz sintética";
}

} // namespace nimbara
