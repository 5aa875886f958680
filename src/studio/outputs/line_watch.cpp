#include "studio/outputs/line_watch.h"

#include "studio/outputs/server_reach.h"

#include <utility>

namespace nimbara {

bool LineWatch::poll(const QString &server, std::int64_t nowUs)
{
    bool isBack = false;
    if (m_look.isReady()) {
        const State found = m_look.take() ? State::Reached : State::Away;
        isBack = std::exchange(m_state, found) == State::Away && found == State::Reached;
    }
    if (m_state != State::Reached && !m_look.isUnderWay() && nowUs - m_lookedUs >= spacingUs) {
        m_lookedUs = nowUs;
        m_look.tryStart([server] { return isReachable(server); });
    }
    return isBack;
}

} // namespace nimbara
