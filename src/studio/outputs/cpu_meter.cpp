#include "studio/outputs/cpu_meter.h"

#include <array>
#include <fstream>
#include <numeric>
#include <string>
#include <utility>

namespace nimbara {

std::optional<double> CpuMeter::share()
{
    std::ifstream file("/proc/stat");
    std::string name;
    std::array<std::uint64_t, 8> ticks {}; // user nice system idle iowait irq softirq steal
    file >> name;
    for (std::uint64_t &each : ticks) {
        file >> each;
    }
    const std::uint64_t all = std::accumulate(ticks.begin(), ticks.end(), std::uint64_t { 0 });
    const std::uint64_t busy = all - ticks[3] - ticks[4];
    const std::uint64_t allBefore = std::exchange(m_all, all);
    const std::uint64_t busyBefore = std::exchange(m_busy, busy);
    if (!file || allBefore == 0 || all <= allBefore) {
        return std::nullopt;
    }
    return static_cast<double>(busy - busyBefore) / static_cast<double>(all - allBefore);
}

} // namespace nimbara
