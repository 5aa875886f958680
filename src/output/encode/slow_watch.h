#pragma once

#include "output/encode/pressure.h"

#include <cstdint>

namespace nimbara {

/// Finds an encoder that cannot make what it is given, for longer than a passing trouble takes.
/// Times in ns of the program.
class SlowWatch {
public:
    static constexpr std::int64_t windowNs = 2'000'000'000;
    static constexpr int patience = 5; ///< slow windows, until one of the full rate is well

    /// `pushed`, `lost`: its pictures since its start; `effort`: what is asked of it. Call on every
    /// tick; cheap. True from then on.
    bool isSlow(std::int64_t nowNs, std::uint64_t pushed, std::uint64_t lost, Effort effort);

private:
    std::int64_t m_windowStart = -1;
    std::uint64_t m_pushedAtStart = 0;
    std::uint64_t m_lostAtStart = 0;
    int m_slowWindows = 0;
};

} // namespace nimbara
