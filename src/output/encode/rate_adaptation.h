#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace nimbara {

/// What waits to be sent to one destination.
struct QueueReading {
    std::uint64_t id = 0; ///< of the destination: the same as long as it runs
    std::uint64_t waitingNs = 0; ///< of pictures
    std::uint64_t dropped = 0; ///< pictures since its start
};

/// Fits the bit rate of an encoder to what the line of most of its destinations carries: it goes
/// down by a fifth while more than half of them suffer, never below half of what was chosen, and
/// comes back by a twentieth of that at a time. Destinations that are not most change nothing: they
/// lose pictures of their own. Times in ns of the program.
class RateAdaptation {
public:
    static constexpr std::int64_t windowNs = 2'000'000'000; ///< as long as key frames are apart
    static constexpr std::int64_t calmNs = 10'000'000'000; ///< in which most are well: a step up
    static constexpr std::int64_t mostCalmNs = 160'000'000'000; ///< asked for after relapses
    static constexpr std::uint64_t longWaitNs = 500'000'000;

    /// `chosen`: by the operator, bit/s.
    explicit RateAdaptation(std::int32_t chosen)
        : m_chosen(chosen)
        , m_bitrate(chosen)
    {
    }

    /// A window is over: readings are wanted.
    [[nodiscard]] bool isDue(std::int64_t nowNs) const
    {
        return m_lookedNs == -1 || nowNs - m_lookedNs >= windowNs;
    }
    /// `readings`: of every destination that its server takes, when due. One suffers that lost
    /// pictures in the window, or that has much waiting and no less than at its start. Returns
    /// whether the rate has changed.
    bool observe(std::int64_t nowNs, std::span<const QueueReading> readings);

    /// That the encoder is to have, bit/s.
    [[nodiscard]] std::int32_t bitrate() const { return m_bitrate; }

private:
    bool lower(std::int64_t nowNs);
    bool raise(std::int64_t nowNs);

    std::int32_t m_chosen;
    std::int32_t m_bitrate;
    std::vector<QueueReading> m_before; ///< at the end of the last window
    std::int64_t m_lookedNs = -1;
    std::int64_t m_calmSince = 0;
    std::int64_t m_calmNeeded = calmNs;
    static constexpr std::int64_t longAgo = -mostCalmNs;
    std::int64_t m_raisedNs = longAgo;
    std::int64_t m_loweredNs = longAgo;
};

} // namespace nimbara
