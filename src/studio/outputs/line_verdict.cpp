#include "studio/outputs/line_verdict.h"

#include "output/sink/destination.h"

#include <QUrl>

#include <algorithm>
#include <array>

namespace nimbara {

namespace {

constexpr std::int64_t soundBitsPerSecond = 160'000;

Message megabits(std::int64_t bitsPerSecond)
{
    const std::int64_t tenths = bitsPerSecond / 100'000;
    return Message::verbatim(QString::number(static_cast<double>(tenths) / 10));
}

Message number(std::ptrdiff_t value)
{
    return Message::verbatim(QString::number(value));
}

std::ptrdiff_t reached(std::span<const LineReading> readings)
{
    return std::count_if(readings.begin(), readings.end(), [](const LineReading &reading) {
        return reading.wasReached;
    });
}

Message outcomeOf(const LineReading &reading)
{
    const Message name = Message::verbatim(reading.name + QStringLiteral(": "));
    return reading.wasReached
        ? name + megabits(reading.bitsPerSecond) + Message::verbatim(QStringLiteral(" Mbit/s"))
        : name + reading.failure;
}

} // namespace

int roomFor(std::span<const LineReading> readings, int videoKbits)
{
    const std::int64_t each = std::int64_t { videoKbits } * 1000 + soundBitsPerSecond;
    std::int64_t carried = 0;
    std::int64_t whole = 0;
    for (const LineReading &reading : readings) {
        carried += reading.bitsPerSecond;
        whole += reading.wasReached && reading.tookAll ? 1 : 0;
    }
    const std::int64_t most = reached(readings);
    return static_cast<int>(std::min(std::max(whole, carried / each), most));
}

Message lineVerdict(std::span<const LineReading> readings, int videoKbits)
{
    const std::ptrdiff_t all = reached(readings);
    Message text = all == 0 ? Message("La prueba no llegó a ningún destino.")
                            : Message("Tu conexión alcanza para %1 de %2 destinos a %3 Mbit/s",
                                { number(roomFor(readings, videoKbits)),
                                    number(all),
                                    megabits(std::int64_t { videoKbits } * 1000) });
    for (const LineReading &reading : readings) {
        text += Message::verbatim(QStringLiteral(" · ")) + outcomeOf(reading);
    }
    return text;
}

std::optional<QString> testRoad(const QString &server, const QString &key)
{
    static constexpr std::array domains { ".twitch.tv", ".contribute.live-video.net" };
    const QString host = QUrl(server).host().toLower();
    const bool isTwitch = std::any_of(domains.begin(), domains.end(), [&](const char *domain) {
        return host.endsWith(QLatin1String(domain));
    });
    return isTwitch
        ? std::optional(streamLocation(server, key + QStringLiteral("?bandwidthtest=true")))
        : std::nullopt;
}

} // namespace nimbara
