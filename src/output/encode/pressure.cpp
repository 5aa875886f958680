#include "output/encode/pressure.h"

#include <algorithm>

namespace nimbara {

namespace {

constexpr std::uint64_t lossyPart = 20; // one in so many pictures lost: too much
constexpr std::uint64_t gravePart = 3; // every second picture would be more

} // namespace

bool Pressure::observe(std::int64_t nowNs, std::uint64_t pushed, std::uint64_t lost)
{
    if (m_windowStart == -1 || pushed < m_pushedAtStart || lost < m_lostAtStart) {
        m_calmSince = nowNs; // nothing to compare with: other encoders than before
    } else if (nowNs - m_windowStart < windowNs) {
        return false;
    }
    const std::uint64_t given
        = m_windowStart == -1 ? 0 : pushed - std::min(pushed, m_pushedAtStart);
    const std::uint64_t gone = m_windowStart == -1 ? 0 : lost - std::min(lost, m_lostAtStart);
    m_windowStart = nowNs;
    m_pushedAtStart = pushed;
    m_lostAtStart = lost;
    if (gone > 0) {
        m_calmSince = nowNs;
    }
    if (gone * lossyPart > given) {
        return stepDown(nowNs, gone * gravePart > given);
    }
    return nowNs - m_calmSince >= m_calmNeeded && stepUp(nowNs);
}

/// One that follows a step up at once was no good: the next one waits for longer.
bool Pressure::stepDown(std::int64_t nowNs, bool isGrave)
{
    if (m_effort == Effort::HalfRate || (m_effort == Effort::Cheaper && !isGrave)) {
        return false;
    }
    m_calmNeeded
        = nowNs - m_raisedAt < 2 * calmNs ? std::min(2 * m_calmNeeded, mostCalmNs) : calmNs;
    m_effort = m_effort == Effort::Full ? Effort::Cheaper : Effort::HalfRate;
    return true;
}

bool Pressure::stepUp(std::int64_t nowNs)
{
    if (m_effort == Effort::Full) {
        return false;
    }
    m_effort = m_effort == Effort::HalfRate ? Effort::Cheaper : Effort::Full;
    m_raisedAt = nowNs;
    m_calmSince = nowNs;
    return true;
}

} // namespace nimbara
