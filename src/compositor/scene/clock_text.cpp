#include "compositor/scene/clock_text.h"

#include <QDateTime>

#include <algorithm>

namespace nimbara {

namespace {

constexpr std::int64_t secondMs = 1000;
constexpr std::int64_t halfDayMs = 12LL * 3600 * secondMs;

QDateTime localTime(const ClockReading &reading)
{
    return QDateTime::fromMSecsSinceEpoch(reading.wallMs);
}

std::int64_t leftOfDuration(const Layer &layer, const ClockReading &reading)
{
    const auto found = reading.elapsedMs.find(layer.source);
    const std::int64_t elapsed = found == reading.elapsedMs.end() ? 0 : found->second;
    return layer.duration * secondMs - elapsed;
}

/// The nearest one: what is long past is meant for tomorrow, as midnight is in the evening. Also
/// right on a day on which the clocks are put forward or back.
std::int64_t leftUntil(std::int32_t minute, const ClockReading &reading)
{
    const QDateTime now = localTime(reading);
    const QTime time(minute / 60, minute % 60);
    const std::int64_t left = now.msecsTo(QDateTime(now.date(), time));
    return left < -halfDayMs ? now.msecsTo(QDateTime(now.date().addDays(1), time)) : left;
}

QString leftText(std::int64_t leftMs)
{
    const std::int64_t seconds = (std::max<std::int64_t>(leftMs, 0) + secondMs - 1) / secondMs;
    const auto twoDigits
        = [](std::int64_t value) { return QString::number(value).rightJustified(2, u'0'); };
    const QString minutes
        = twoDigits(seconds / 60 % 60) + QLatin1Char(':') + twoDigits(seconds % 60);
    return seconds < 3600 ? minutes : QString::number(seconds / 3600) + QLatin1Char(':') + minutes;
}

QString countdownText(const Layer &layer, std::int64_t leftMs)
{
    return leftMs > 0 || layer.text.isEmpty() ? leftText(leftMs) : layer.text;
}

} // namespace

QString clockText(const Layer &layer, const ClockReading &reading)
{
    switch (layer.clockShows) {
    case clock_shows::untilTime:
        return countdownText(layer, leftUntil(layer.untilMinute, reading));
    case clock_shows::duration:
        return countdownText(layer, leftOfDuration(layer, reading));
    case clock_shows::timeInSeconds:
        return localTime(reading).time().toString(QStringLiteral("HH:mm:ss"));
    default:
        return localTime(reading).time().toString(QStringLiteral("HH:mm"));
    }
}

bool hasRunOut(const Layer &layer, const ClockReading &reading)
{
    return layer.clockShows == clock_shows::duration && leftOfDuration(layer, reading) <= 0;
}

} // namespace nimbara
