#pragma once

#include <cstdint>

namespace nimbara {

/// How much the encoders of a program ask of the machine.
enum class Effort {
    Full,
    Cheaper, ///< simpler coding at the same bit rate
    HalfRate, ///< of that, every second picture
};

/// Finds out whether the encoders keep up, and how much to ask of them, so that a machine that has
/// too much to do loses quality first, then every second picture, in place of pictures by chance.
/// Times in ns of the program.
class Pressure {
public:
    static constexpr std::int64_t windowNs = 2'000'000'000;
    static constexpr std::int64_t calmNs = 20'000'000'000; ///< without a loss: less is spared
    static constexpr std::int64_t mostCalmNs = 600'000'000'000; ///< asked for after relapses

    /// `pushed`, `lost`: pictures since the start, of all encoders. Call on every tick; cheap.
    /// Returns whether the effort has changed.
    bool observe(std::int64_t nowNs, std::uint64_t pushed, std::uint64_t lost);

    [[nodiscard]] Effort effort() const { return m_effort; }

private:
    bool stepDown(std::int64_t nowNs, bool isGrave);
    bool stepUp(std::int64_t nowNs);

    Effort m_effort = Effort::Full;
    std::int64_t m_windowStart = -1;
    std::uint64_t m_pushedAtStart = 0;
    std::uint64_t m_lostAtStart = 0;
    std::int64_t m_calmSince = 0;
    std::int64_t m_calmNeeded = calmNs;
    std::int64_t m_raisedAt = -mostCalmNs;
};

} // namespace nimbara
