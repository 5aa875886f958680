#include "studio/outputs/reconnection.h"

#include <QRandomGenerator>

#include <algorithm>
#include <array>
#include <utility>

namespace nimbara {

namespace {

constexpr std::int64_t second = 1'000'000;
constexpr std::array<std::int64_t, 6> delaysUs { second,
    2 * second,
    3 * second,
    5 * second,
    8 * second,
    10 * second };
constexpr std::int64_t eagerUs = 180 * second;
constexpr std::int64_t patientDelayUs = 30 * second;
constexpr std::int64_t busyDelayUs = 10 * second;
constexpr std::int64_t quickUs = 5 * second;
constexpr double chanceShare = 0.1;

} // namespace

Reconnection::Reconnection(std::function<double()> chance)
    : m_chance(std::move(chance))
{
}

double Reconnection::anyChance()
{
    return QRandomGenerator::global()->generateDouble();
}

void Reconnection::forget()
{
    *this = Reconnection(std::move(m_chance));
}

void Reconnection::started(std::int64_t nowUs)
{
    m_startedUs = nowUs;
    m_isAccepted = false;
    m_isSteady = false;
    m_nextUs.reset();
}

void Reconnection::accepted()
{
    m_everAccepted = true;
    m_busySinceUs.reset();
    m_earlyClosings = 0;
    m_isAccepted = true;
}

void Reconnection::took(std::int64_t mediaUs)
{
    if (m_isAccepted && mediaUs >= steadyUs) {
        m_isSteady = true;
        m_attempt = 0;
        m_quickClosings = 0;
        m_firstLossUs.reset();
    }
}

bool Reconnection::lost(OutputFailure failure, std::int64_t nowUs, bool isReachable)
{
    if (!m_everAccepted) {
        return giveUp({});
    }
    m_reason = {};
    switch (failure) {
    case OutputFailure::Refused:
        return giveUp("El servidor rechaza la clave; no se reconecta.");
    case OutputFailure::Certificate:
        return giveUp("El certificado del servidor no es válido; no se reconecta.");
    case OutputFailure::NameInUse:
        m_earlyClosings = 0; // it knows the key
        m_busySinceUs = m_busySinceUs.value_or(nowUs);
        return nowUs - *m_busySinceUs < busyUs
            ? waitFor(busyDelayUs, nowUs)
            : giveUp("El servidor sigue con la transmisión anterior; no se reconecta.");
    case OutputFailure::Other:
    case OutputFailure::Stalled:
        m_busySinceUs.reset(); // whatever held the name
        break;
    }
    countClosing(nowUs, isReachable);
    const Message doubt = "El servidor la cierra una y otra vez: revisa la clave.";
    if (m_quickClosings >= mostClosings) {
        return giveUp(doubt);
    }
    if (doubtsKey()) {
        m_reason = doubt;
    }
    return waitFor(nextDelayUs(nowUs), nowUs);
}

void Reconnection::countClosing(std::int64_t nowUs, bool isReachable)
{
    const bool isQuick = nowUs - m_startedUs < quickUs;
    if (isQuick && !m_isAccepted && isReachable) {
        ++m_earlyClosings;
        return;
    }
    m_earlyClosings = 0;
    m_quickClosings = isQuick && m_isAccepted ? m_quickClosings + 1 : 0;
}

std::int64_t Reconnection::nextDelayUs(std::int64_t nowUs) const
{
    if (nowUs - m_firstLossUs.value_or(nowUs) >= eagerUs) {
        return patientDelayUs;
    }
    return delaysUs.at(
        std::min<std::size_t>(static_cast<std::size_t>(m_attempt), delaysUs.size() - 1));
}

bool Reconnection::waitFor(std::int64_t delayUs, std::int64_t nowUs)
{
    m_firstLossUs = m_firstLossUs.value_or(nowUs);
    ++m_attempt;
    const double extra = chanceShare * m_chance() * static_cast<double>(delayUs);
    m_nextUs = nowUs + delayUs + static_cast<std::int64_t>(extra);
    return true;
}

bool Reconnection::giveUp(const Message &reason)
{
    forget();
    m_reason = reason;
    return false;
}

void Reconnection::hurry(std::int64_t nowUs)
{
    if (m_nextUs) {
        m_nextUs = nowUs;
    }
}

Message Reconnection::text(std::int64_t nowUs) const
{
    const auto number
        = [](std::int64_t value) { return Message::verbatim(QString::number(value)); };
    const std::int64_t left = std::max<std::int64_t>(m_nextUs.value_or(nowUs) - nowUs, 0);
    const QList<Message> values { number((left + second - 1) / second), number(m_attempt) };
    if (m_busySinceUs) {
        return { "El servidor aún tiene la transmisión anterior; reintento en %1 s · intento %2",
            values };
    }
    return doubtsKey()
        ? Message("El servidor la cierra: revisa la clave; reintento en %1 s · intento %2", values)
        : Message("Reconectando en %1 s · intento %2", values);
}

} // namespace nimbara
