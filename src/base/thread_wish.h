#pragma once

#include <cstdint>
#include <utility>

namespace nimbara {

/// Spaces the attempts to begin a background task while the system has no thread left, and keeps
/// that it has none for one telling. Times are monotonic, in microseconds. One thread.
class ThreadWish {
public:
    static constexpr std::int64_t pauseUs = 1'000'000; ///< from a refused attempt to the next

    /// `begin` tells whether its thread began; it is not called within the pause.
    template <typename Begin> void attempt(std::int64_t nowUs, Begin begin)
    {
        if (m_isRefused && nowUs - m_triedUs < pauseUs) {
            return;
        }
        m_triedUs = nowUs;
        const bool wasRefused = std::exchange(m_isRefused, !begin());
        m_isNews = m_isRefused && (m_isNews || !wasRefused);
    }

    /// There is no thread; once until there was one again.
    bool takeRefusal() { return std::exchange(m_isNews, false); }

private:
    std::int64_t m_triedUs = 0;
    bool m_isRefused = false;
    bool m_isNews = false;
};

} // namespace nimbara
