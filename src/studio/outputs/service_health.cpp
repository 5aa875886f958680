#include "studio/outputs/service_health.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace nimbara {

namespace {

constexpr double starvedShare = 0.05; // of pictures that are lost or late
constexpr int starvedPatience = 10; // s
constexpr std::int64_t soundBitsPerSecond = 160'000;

Message number(std::int64_t value)
{
    return Message::verbatim(QString::number(value));
}

Message clockText(double exact)
{
    const auto seconds = static_cast<int>(exact);
    return Message::verbatim(QStringLiteral("%1:%2:%3")
                                 .arg(seconds / 3600)
                                 .arg(seconds / 60 % 60, 2, 10, QLatin1Char('0'))
                                 .arg(seconds % 60, 2, 10, QLatin1Char('0')));
}

double share(std::uint64_t part, std::uint64_t all)
{
    return all == 0 ? 0 : static_cast<double>(part) / static_cast<double>(all);
}

} // namespace

ServiceHealth::ServiceHealth(const Outputs &outputs,
    const StreamDesk &streams,
    const RecordingDesk &recordings)
    : m_outputs(outputs)
    , m_streams(streams)
    , m_recordings(recordings)
{
}

bool ServiceHealth::measure(std::int64_t nowUs, Composition composition)
{
    if (nowUs - m_measuredUs < periodUs) {
        return false;
    }
    m_seconds = m_measuredUs == 0 ? 0 : static_cast<double>(nowUs - m_measuredUs) * 1e-6;
    m_measuredUs = nowUs;
    m_cpuShare = m_cpu.share();
    m_due.add(composition.due);
    m_late.add(composition.late);
    m_lost.add(m_outputs.encoders().lost() + m_outputs.encoders().leftOut());
    m_recordedBytes.add(m_outputs.recording().figures().value_or(OutletFigures {}).bytes);
    measureSlots();
    measureTimes();
    advise();
    tellEffort();
    tellRate();
    makeLine();
    return true;
}

void ServiceHealth::measureSlots()
{
    m_onAir = 0;
    m_wanted = 0;
    m_up = 0;
    m_dropped = 0;
    for (std::size_t slot = 0; slot < destinationCount; ++slot) {
        const Destination &destination = m_outputs.destination(slot);
        const OutletFigures figures = destination.figures().value_or(OutletFigures {});
        SlotHealth &health = m_slots.at(slot);
        health.bytes.add(figures.bytes);
        health.kbits = m_seconds > 0
            ? static_cast<int>(static_cast<double>(health.bytes.gain()) * 8e-3 / m_seconds)
            : 0;
        health.dropped.add(figures.dropped);
        health.waitingSeconds = static_cast<double>(figures.waitingNs) * 1e-9;
        m_dropped = std::max(m_dropped, health.dropped.sum());
        m_onAir += m_streams.isOnAir(slot) ? 1 : 0;
        m_wanted += m_streams.isWanted(slot) ? 1 : 0;
        m_up += destination.accepted() ? 1 : 0;
    }
}

void ServiceHealth::measureTimes()
{
    m_streamSeconds
        = m_onAir == 0 ? 0 : m_streamSeconds + (m_up > 0 || m_streamSeconds > 0 ? m_seconds : 0);
    m_steadySeconds = m_recordings.isWriting() ? m_steadySeconds + 1 : 0;
    if (!m_recordings.isActive()) {
        m_recordingSeconds = 0;
        m_advised = false;
    } else if (m_recordings.isWriting()) {
        m_recordingSeconds += m_seconds;
    }
}

/// A machine that cannot encode WebM beside the rest can still write what the streams are sent.
void ServiceHealth::advise()
{
    m_advice = {};
    const bool isStarved = m_outputs.encoders().effort() >= Effort::Thinned
        || share(m_lost.gain(), m_due.gain()) > starvedShare
        || share(m_late.gain(), m_due.gain()) > starvedShare;
    m_starvedSeconds = isStarved ? m_starvedSeconds + 1 : 0;
    const bool isWebM = m_recordings.isWriting()
        && !m_recordings.path().endsWith(QLatin1String(".mkv"), Qt::CaseInsensitive);
    if (isWebM && !m_advised && m_starvedSeconds >= starvedPatience) {
        m_advised = true;
        m_advice = "El equipo no da abasto para grabar en WebM. Graba en MKV: usa lo mismo que las "
                   "transmisiones.";
    }
}

void ServiceHealth::tellEffort()
{
    m_news = {};
    const Effort effort = m_outputs.encoders().effort();
    if (std::exchange(m_effort, effort) == effort) {
        return;
    }
    switch (effort) {
    case Effort::Full:
        m_news = "El equipo vuelve a dar abasto: se codifica como siempre.";
        break;
    case Effort::Cheaper:
        m_news = "El equipo va justo: se codifica con menos detalle.";
        break;
    case Effort::Thinned:
        m_news = "El equipo va justo: salen cinco imágenes de cada seis.";
        break;
    case Effort::HalfRate:
        m_news = "El equipo no da abasto: sale una imagen de cada dos.";
        break;
    }
}

/// Streams that the operator stopped tell nothing of the line; nor do those that are lost.
void ServiceHealth::tellRate()
{
    if (m_onAir > 0 && m_up == 0) {
        return;
    }
    const bool isNarrow = m_onAir > 0 && m_outputs.encoders().rateShare() < 1;
    if (std::exchange(m_isNarrow, isNarrow) != isNarrow && m_onAir > 0) {
        m_news += Message::verbatim(QLatin1String(m_news.isEmpty() ? "" : " "))
            + (isNarrow ? "La conexión no da abasto en la mayoría de los destinos: se baja la "
                          "calidad de video."
                        : "La conexión vuelve a dar abasto: la calidad de video es la elegida.");
    }
}

void ServiceHealth::add(const Message &text, HealthLevel level)
{
    m_line.push_back({ text, level });
}

void ServiceHealth::makeLine()
{
    m_line.clear();
    if (m_onAir > 0) {
        add({ "En directo %1", { clockText(m_streamSeconds) } });
    }
    if (m_wanted > 0) {
        add({ "%1 de %2 destinos", { number(m_up), number(m_wanted) } },
            m_up < m_wanted ? HealthLevel::Alarm : HealthLevel::Good);
    }
    if (m_onAir > 0) {
        std::int64_t kbits = 0;
        for (const SlotHealth &slot : m_slots) {
            kbits += slot.kbits;
        }
        add({ "%1 kbit/s", { number(kbits) } });
    }
    if (m_isNarrow) {
        const auto percent = std::lround(m_outputs.encoders().rateShare() * 100);
        add({ "Calidad al %1 %", { number(percent) } }, HealthLevel::Warning);
    }
    if (m_recordings.isActive()) {
        const char *doing = m_recordings.isWriting() ? "Grabando %1"
            : m_recordings.isOpening()               ? "Abriendo archivo %1"
                                                     : "En pausa %1";
        add({ doing, { clockText(m_recordingSeconds) } },
            m_recordings.isWriting() ? HealthLevel::Good : HealthLevel::Warning);
    }
    addLosses();
    addDisk();
}

void ServiceHealth::addLosses()
{
    if (m_outputs.any()) {
        const std::uint64_t lost = m_lost.sum() + m_dropped;
        HealthLevel level = levelOfLoss(share(lost, m_due.sum()));
        for (const SlotHealth &slot : m_slots) {
            level = std::max(level, levelOfWait(slot.waitingSeconds));
        }
        if (m_outputs.encoders().effort() == Effort::HalfRate) {
            add("Una imagen de cada dos", HealthLevel::Alarm);
        }
        add({ "Imágenes perdidas: %1", { number(static_cast<std::int64_t>(lost)) } }, level);
    }
    add({ "Imágenes tarde: %1", { number(static_cast<std::int64_t>(m_late.sum())) } },
        levelOfLoss(share(m_late.sum(), m_due.sum())));
    if (m_cpuShare) {
        add({ "CPU %1 %", { number(std::lround(*m_cpuShare * 100)) } }, levelOfCpu(*m_cpuShare));
    }
}

void ServiceHealth::addDisk()
{
    const auto free = m_recordings.freeBytes();
    if (!free) {
        return;
    }
    const bool isKnown = m_steadySeconds > static_cast<int>(MinuteSum::seconds);
    const std::int64_t perMinute = std::max<std::int64_t>(isKnown
            ? static_cast<std::int64_t>(m_recordedBytes.sum())
            : (m_recordings.videoBitsPerSecond() + soundBitsPerSecond) / 8 * 60,
        1);
    const std::int64_t minutes
        = std::max<std::int64_t>(*free - RecordingDisk::reserveBytes, 0) / perMinute;
    add({ "Disco: %1 min", { number(minutes) } }, levelOfDisk(minutes));
}

} // namespace nimbara
