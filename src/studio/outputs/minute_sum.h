#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <numeric>

namespace nimbara {

/// What a counter gained in the last minute, told once a second.
class MinuteSum {
public:
    static constexpr std::size_t seconds = 60;

    /// `total`: of the counter. One that is smaller than the last began anew.
    void add(std::uint64_t total)
    {
        m_place = (m_place + 1) % seconds;
        m_gains.at(m_place) = total >= m_total ? total - m_total : total;
        m_total = total;
    }
    [[nodiscard]] std::uint64_t sum() const
    {
        return std::accumulate(m_gains.begin(), m_gains.end(), std::uint64_t { 0 });
    }
    /// Of so many seconds ago, 0: the last one; below 60.
    [[nodiscard]] std::uint64_t gain(std::size_t ago = 0) const
    {
        return m_gains.at((m_place + seconds - ago) % seconds);
    }

private:
    std::array<std::uint64_t, seconds> m_gains {};
    std::size_t m_place = 0;
    std::uint64_t m_total = 0;
};

} // namespace nimbara
