#include "output/encode/rate_adaptation.h"

#include <algorithm>

namespace nimbara {

namespace {

/// How many of the destinations that were there a window ago are how.
struct Census {
    int all = 0;
    int suffering = 0;
    int well = 0;

    void count(const QueueReading &before, const QueueReading &now)
    {
        const bool drops = now.dropped > before.dropped;
        const bool waits = now.waitingNs >= RateAdaptation::longWaitNs;
        ++all;
        suffering += drops || (waits && now.waitingNs >= before.waitingNs) ? 1 : 0;
        well += drops || waits ? 0 : 1;
    }
    [[nodiscard]] bool isMost(int part) const { return 2 * part > all; }
};

} // namespace

bool RateAdaptation::observe(std::int64_t nowNs, std::span<const QueueReading> readings)
{
    Census census;
    for (const QueueReading &now : readings) {
        const auto before = std::find_if(m_before.begin(), m_before.end(), [&](const auto &each) {
            return each.id == now.id;
        });
        if (before != m_before.end()) {
            census.count(*before, now);
        }
    }
    m_before.assign(readings.begin(), readings.end());
    m_lookedNs = nowNs;
    if (census.isMost(census.suffering)) {
        return lower(nowNs);
    }
    if (census.isMost(census.all - census.well)) {
        m_calmSince = nowNs; // what waits gets less: neither up nor down
    }
    return nowNs - m_calmSince >= m_calmNeeded && raise(nowNs);
}

/// One that follows a step up soon: that was too much, and the next one waits for longer.
bool RateAdaptation::lower(std::int64_t nowNs)
{
    m_calmSince = nowNs;
    const std::int32_t lowered = std::max(m_bitrate / 5 * 4, m_chosen / 2);
    if (lowered >= m_bitrate) {
        return false;
    }
    if (nowNs - m_raisedNs < 2 * calmNs) {
        m_calmNeeded = std::min(2 * m_calmNeeded, mostCalmNs);
        m_raisedNs = longAgo; // once for each
    } else if (nowNs - m_loweredNs > 2 * calmNs) {
        m_calmNeeded = calmNs;
    }
    m_loweredNs = nowNs;
    m_bitrate = lowered;
    return true;
}

bool RateAdaptation::raise(std::int64_t nowNs)
{
    if (m_bitrate == m_chosen) {
        return false;
    }
    m_bitrate = std::min(m_bitrate + m_chosen / 20, m_chosen);
    m_raisedNs = nowNs;
    m_calmSince = nowNs;
    return true;
}

} // namespace nimbara
