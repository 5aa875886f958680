#include "output/encode/pressure.h"

#include <algorithm>

namespace nimbara {

namespace {

constexpr std::uint64_t lossyPart = 20; // one in so many pictures lost: too much
constexpr std::uint64_t gravePart = 3; // fewer than two of three come through
constexpr std::uint64_t thinnedGravePart = 5; // the same, of five in six

} // namespace

bool Pressure::observe(std::int64_t nowNs, std::uint64_t pushed, std::uint64_t lost, bool canSpare)
{
    const Effort before = effort();
    m_canSpare = canSpare;
    look(nowNs, pushed, lost);
    return effort() != before;
}

void Pressure::look(std::int64_t nowNs, std::uint64_t pushed, std::uint64_t lost)
{
    if (m_windowStart == -1 || pushed < m_pushedAtStart || lost < m_lostAtStart) {
        m_calmSince = nowNs; // nothing to compare with: other encoders than before
    } else if (nowNs - m_windowStart < windowNs) {
        return;
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
        stepDown(nowNs, given, gone);
    } else if (nowNs - m_calmSince >= m_calmNeeded) {
        stepUp(nowNs);
    }
}

/// One that follows a step up at once was no good: the next one waits for longer.
void Pressure::stepDown(std::int64_t nowNs, std::uint64_t given, std::uint64_t gone)
{
    const bool isThinned = m_effort == Effort::Thinned;
    const bool isGrave = gone * (isThinned ? thinnedGravePart : gravePart) > given;
    if (m_effort == Effort::HalfRate || (isThinned && !isGrave)) {
        return;
    }
    m_calmNeeded
        = nowNs - m_raisedAt < 2 * calmNs ? std::min(2 * m_calmNeeded, mostCalmNs) : calmNs;
    if (m_effort == Effort::Full) {
        m_effort = Effort::Cheaper;
    } else {
        m_effort = isGrave ? Effort::HalfRate : Effort::Thinned;
    }
}

void Pressure::stepUp(std::int64_t nowNs)
{
    if (m_effort == Effort::Full) {
        return;
    }
    m_effort = static_cast<Effort>(static_cast<int>(m_effort) - 1);
    m_raisedAt = nowNs;
    m_calmSince = nowNs;
}

} // namespace nimbara
