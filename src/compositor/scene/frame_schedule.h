#pragma once

#include <cstdint>
#include <optional>

namespace nimbara {

/// The schedule of 30 frames per second against the monotonic clock. Short stalls are made up frame
/// by frame; after a long one the schedule starts again from now. Times are in microseconds.
class FrameSchedule {
public:
    static constexpr std::int64_t periodUs = 33'333;
    static constexpr std::int64_t reanchorUs = 250'000; ///< lateness beyond the next slot

    /// The first frame is due at once.
    explicit FrameSchedule(std::int64_t nowUs)
        : m_origin(nowUs)
        , m_next(nowUs)
    {
    }

    /// The scheduled time of the frame that is due now, or none. Each call gives one frame.
    std::optional<std::int64_t> due(std::int64_t nowUs)
    {
        if (nowUs < m_next) {
            return std::nullopt;
        }
        std::int64_t frameTime = m_next;
        if (nowUs - (m_next + periodUs) > reanchorUs) {
            m_skipped += (nowUs - m_next) / periodUs;
            frameTime = nowUs;
        }
        m_next = frameTime + periodUs;
        return frameTime;
    }

    /// Time zero of the outputs' time stamps.
    [[nodiscard]] std::int64_t origin() const { return m_origin; }
    /// When the next frame is due.
    [[nodiscard]] std::int64_t next() const { return m_next; }
    /// Frames that long stalls have swallowed so far.
    [[nodiscard]] std::int64_t skipped() const { return m_skipped; }

private:
    std::int64_t m_origin;
    std::int64_t m_next;
    std::int64_t m_skipped = 0;
};

} // namespace nimbara
