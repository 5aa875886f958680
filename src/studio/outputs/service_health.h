#pragma once

#include "base/message.h"
#include "output/sink/outputs.h"
#include "studio/outputs/cpu_meter.h"
#include "studio/outputs/health_levels.h"
#include "studio/outputs/minute_sum.h"
#include "studio/outputs/recording_desk.h"
#include "studio/outputs/stream_desk.h"

#include <array>
#include <cstdint>
#include <optional>
#include <vector>

namespace nimbara {

/// One figure of the line that the operator always sees.
struct HealthPart {
    Message text;
    HealthLevel level = HealthLevel::Good;
};

/// How one destination is; all zero while it is not wanted.
struct SlotHealth {
    MinuteSum bytes; ///< that it took
    MinuteSum dropped; ///< pictures that were left out for it
    double waitingSeconds = 0; ///< of pictures that wait to be sent
    int kbits = 0; ///< kbit/s that it takes
};

/// How the outputs and the machine are, measured once a second. Interface thread only.
class ServiceHealth {
public:
    static constexpr std::int64_t periodUs = 1'000'000;

    /// Pictures of the programs since the start.
    struct Composition {
        std::uint64_t due = 0;
        std::uint64_t late = 0; ///< composed late or not at all
    };

    /// All must outlive it.
    ServiceHealth(const Outputs &outputs,
        const StreamDesk &streams,
        const RecordingDesk &recordings);

    /// Call on every frame. Whether a second was over and all is new.
    bool measure(std::int64_t nowUs, Composition composition);

    /// The line, left to right.
    [[nodiscard]] const std::vector<HealthPart> &line() const { return m_line; }
    [[nodiscard]] const SlotHealth &slot(std::size_t slot) const { return m_slots.at(slot); }
    /// What the operator could do about what was just measured; once, empty most of the time.
    [[nodiscard]] const Message &advice() const { return m_advice; }
    /// What the encoders do otherwise since it was last measured; empty most of the time.
    [[nodiscard]] const Message &news() const { return m_news; }

private:
    void measureSlots();
    void measureTimes();
    void advise();
    void tellEffort();
    void tellRate();
    void makeLine();
    void addLosses();
    void addDisk();
    void add(const Message &text, HealthLevel level = HealthLevel::Good);

    const Outputs &m_outputs;
    const StreamDesk &m_streams;
    const RecordingDesk &m_recordings;
    CpuMeter m_cpu;
    std::optional<double> m_cpuShare;
    std::int64_t m_measuredUs = 0;
    std::array<SlotHealth, destinationCount> m_slots;
    int m_onAir = 0; ///< destinations that send or are tried again
    int m_wanted = 0; ///< with those that were given up
    int m_up = 0;
    double m_seconds = 0; ///< since it was measured before
    double m_streamSeconds = 0;
    double m_recordingSeconds = 0;
    int m_steadySeconds = 0; ///< of a recording without a pause
    MinuteSum m_due;
    MinuteSum m_late;
    MinuteSum m_lost; ///< pictures that no encoder took, or that were left out at half the rate
    std::uint64_t m_dropped = 0; ///< of the last minute, the worst output's
    MinuteSum m_recordedBytes;
    int m_starvedSeconds = 0; ///< in a row
    bool m_advised = false; ///< of this recording
    Message m_advice;
    Effort m_effort = Effort::Full;
    bool m_isNarrow = false; ///< the line of most destinations
    Message m_news;
    std::vector<HealthPart> m_line;
};

} // namespace nimbara
