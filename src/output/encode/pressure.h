#pragma once

#include <cstdint>

namespace nimbara {

/// How much the encoders of a program ask of the machine.
enum class Effort {
    Full,
    Cheaper, ///< simpler coding at the same bit rate
    Thinned, ///< of that, five of six pictures
    HalfRate, ///< every second picture
};

/// Every which picture is left out; 0: none.
[[nodiscard]] constexpr int leftOutEvery(Effort effort)
{
    if (effort == Effort::HalfRate) {
        return 2;
    }
    return effort == Effort::Thinned ? 6 : 0;
}

/// Finds out whether the encoders keep up, and how much to ask of them, so that a machine that has
/// too much to do loses quality first, then pictures evenly, in place of pictures by chance. A
/// passing moment costs no picture: that takes a second loss within `calmNs`. Times in ns of the
/// program.
class Pressure {
public:
    static constexpr std::int64_t windowNs = 2'000'000'000;
    static constexpr std::int64_t calmNs = 20'000'000'000; ///< without a loss: less is spared
    static constexpr std::int64_t mostCalmNs = 600'000'000'000; ///< asked for after relapses

    /// `pushed`, `lost`: pictures since the start, of all encoders. `canSpare`: one of them has
    /// simpler coding to offer. Call on every tick; cheap. Returns whether the effort has changed.
    bool observe(std::int64_t nowNs, std::uint64_t pushed, std::uint64_t lost, bool canSpare);

    [[nodiscard]] Effort effort() const
    {
        return m_effort == Effort::Cheaper && !m_canSpare ? Effort::Full : m_effort;
    }

private:
    void look(std::int64_t nowNs, std::uint64_t pushed, std::uint64_t lost);
    void stepDown(std::int64_t nowNs, std::uint64_t given, std::uint64_t gone);
    void stepUp(std::int64_t nowNs);

    Effort m_effort = Effort::Full; ///< `Cheaper` where nothing can be spared: a loss is on record
    bool m_canSpare = false;
    std::int64_t m_windowStart = -1;
    std::uint64_t m_pushedAtStart = 0;
    std::uint64_t m_lostAtStart = 0;
    std::int64_t m_calmSince = 0;
    std::int64_t m_calmNeeded = calmNs;
    std::int64_t m_raisedAt = -mostCalmNs;
};

} // namespace nimbara
