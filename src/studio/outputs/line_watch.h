#pragma once

#include "base/background_task.h"

#include <QString>

#include <cstdint>

namespace nimbara {

/// Finds out whether the server of a lost destination can be reached, on a background task: while
/// it cannot, an attempt would hang until it is given up, and once it can again, none has to wait
/// for its turn. Interface thread only; nothing waits.
class LineWatch {
public:
    static constexpr std::int64_t spacingUs = 1'000'000; ///< of the looks while it cannot
    static constexpr std::int64_t patienceUs = 3'000'000; ///< with a look that does not come back

    /// The destination was lost anew, or is back: nothing is known.
    void forget() { *this = {}; }
    /// Call on every tick while it is lost. True once when `server` can be reached again after it
    /// could not.
    bool poll(const QString &server, std::int64_t nowUs);
    /// It could not be reached when it was last looked.
    [[nodiscard]] bool isAway() const { return m_state == State::Away; }
    /// It could.
    [[nodiscard]] bool isReached() const { return m_state == State::Reached; }
    /// That will be known in a moment, for which an attempt that is due can wait.
    [[nodiscard]] bool isLooking(std::int64_t nowUs) const
    {
        return m_state == State::Unknown && m_look.isUnderWay() && nowUs - m_lookedUs < patienceUs;
    }

private:
    enum class State { Unknown, Away, Reached };

    BackgroundTask<bool> m_look;
    std::int64_t m_lookedUs = -spacingUs;
    State m_state = State::Unknown;
};

} // namespace nimbara
