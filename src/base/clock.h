#pragma once

#include <cstdint>

namespace nimbara {

/// The two times that the studio reads. A seam: tests crank one by hand.
///
/// Implementations may be called from any thread.
class Clock {
public:
    Clock() = default;
    Clock(const Clock &) = delete;
    Clock &operator=(const Clock &) = delete;
    Clock(Clock &&) = delete;
    Clock &operator=(Clock &&) = delete;
    virtual ~Clock() = default;

    /// Monotonic time in microseconds; never goes back.
    [[nodiscard]] virtual std::int64_t monotonicUs() const = 0;

    /// Wall time in milliseconds since the epoch.
    [[nodiscard]] virtual std::int64_t wallMs() const = 0;
};

/// GLib's monotonic clock and the system's wall clock.
class SystemClock final : public Clock {
public:
    [[nodiscard]] std::int64_t monotonicUs() const override;
    [[nodiscard]] std::int64_t wallMs() const override;
};

} // namespace nimbara
