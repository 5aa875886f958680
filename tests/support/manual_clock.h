#pragma once

#include "base/clock.h"

#include <atomic>

namespace nimbara::testing {

/// A clock that a test cranks by hand.
class ManualClock final : public Clock {
public:
    explicit ManualClock(std::int64_t startUs = 1'000'000)
        : m_us(startUs)
    {
    }
    [[nodiscard]] std::int64_t monotonicUs() const override { return m_us; }
    [[nodiscard]] std::int64_t wallMs() const override { return m_wallMs + m_us / 1000; }
    void advanceUs(std::int64_t us) { m_us += us; }

private:
    std::atomic<std::int64_t> m_us;
    std::int64_t m_wallMs = 1'700'000'000'000;
};

} // namespace nimbara::testing
