#include "studio/edit/countdowns.h"

namespace nimbara {

std::int64_t Countdowns::elapsedUs(const Run &run) const
{
    return run.beforeUs + (run.sinceUs ? m_clock.monotonicUs() - *run.sinceUs : 0);
}

void Countdowns::toggle(const Layer &layer)
{
    if (hasRunOut(layer, reading())) {
        reset(layer.source);
    }
    Run &run = m_runs[layer.source];
    if (run.sinceUs) {
        run = { elapsedUs(run), std::nullopt };
    } else {
        run.sinceUs = m_clock.monotonicUs();
    }
}

bool Countdowns::isRunning(const Layer &layer) const
{
    const auto found = m_runs.find(layer.source);
    return found != m_runs.end() && found->second.sinceUs && !hasRunOut(layer, reading());
}

ClockReading Countdowns::reading() const
{
    ClockReading reading { m_clock.wallMs() };
    for (const auto &[source, run] : m_runs) {
        reading.elapsedMs[source] = elapsedUs(run) / 1000;
    }
    return reading;
}

} // namespace nimbara
