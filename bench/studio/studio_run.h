#pragma once

#include "studio/studio.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <vector>

namespace nimbara::bench {

/// What a studio did while it ran on the real clock.
struct StudioRun {
    int frames = 0;
    std::int64_t missed = 0; ///< frame slots
    double seconds = 0;
    double cpuSeconds = 0; ///< of the whole process
    double memoryAt10 = 0; ///< MiB resident after 10 s
    double memoryAtEnd = 0; ///< MiB
    std::vector<double> ticks; ///< ms of the ticks that made a frame
};

/// Runs the studio's frame clock for `length`, as the window does. `between` is called after each
/// tick, outside of what is timed.
StudioRun runFor(
    Studio &studio,
    std::chrono::milliseconds length,
    const std::function<void()> &between = [] {});

/// CPU seconds of this process so far.
double processCpuSeconds();

/// The value below which `part` (0..1) of `values` lies; 0 without values.
double percentile(std::vector<double> values, double part);

} // namespace nimbara::bench
