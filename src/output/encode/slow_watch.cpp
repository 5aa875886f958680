#include "output/encode/slow_watch.h"

#include <algorithm>

namespace nimbara {

namespace {

/// Lost is more than one of so many: fewer than 20 pictures a second come through, or 14 of the 15
/// that are wanted.
std::uint64_t slowPart(Effort effort)
{
    switch (effort) {
    case Effort::HalfRate:
        return 20;
    case Effort::Thinned:
        return 5;
    default:
        return 3;
    }
}

constexpr std::uint64_t wellPart = 20;

} // namespace

bool SlowWatch::isSlow(std::int64_t nowNs, std::uint64_t pushed, std::uint64_t lost, Effort effort)
{
    if (m_windowStart == -1 || nowNs - m_windowStart >= windowNs) {
        const std::uint64_t given = pushed - std::min(pushed, m_pushedAtStart);
        const std::uint64_t gone = lost - std::min(lost, m_lostAtStart);
        if (gone * slowPart(effort) > given) {
            ++m_slowWindows;
        } else if (effort < Effort::Thinned && gone * wellPart <= given) {
            m_slowWindows = 0;
        }
        m_windowStart = nowNs;
        m_pushedAtStart = pushed;
        m_lostAtStart = lost;
    }
    return m_slowWindows >= patience;
}

} // namespace nimbara
