#include "studio/studio_run.h"

#include "bench.h"

#include <algorithm>
#include <sys/resource.h>
#include <thread>

namespace nimbara::bench {

using namespace std::chrono_literals;
using SteadyClock = std::chrono::steady_clock;

double processCpuSeconds()
{
    rusage usage {};
    getrusage(RUSAGE_SELF, &usage);
    const auto seconds = [](const timeval &time) {
        return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) * 1e-6;
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

StudioRun
runFor(Studio &studio, std::chrono::milliseconds length, const std::function<void()> &between)
{
    StudioRun run;
    const auto counted
        = QObject::connect(&studio, &Studio::picturesMade, &studio, [&run] { ++run.frames; });
    const auto missedBefore = studio.missedSlots();
    const double cpuBefore = processCpuSeconds();
    const auto start = SteadyClock::now();
    auto next = start;
    while (SteadyClock::now() < start + length) {
        const int before = run.frames;
        const double ms = timeMs([&studio] { studio.tick(); });
        if (run.frames != before) {
            run.ticks.push_back(ms);
        }
        between();
        if (run.memoryAt10 == 0 && SteadyClock::now() - start > 10s) {
            run.memoryAt10 = residentMiB();
        }
        next = std::max(next + 5ms, SteadyClock::now());
        std::this_thread::sleep_until(next);
    }
    QObject::disconnect(counted);
    run.seconds = std::chrono::duration<double>(SteadyClock::now() - start).count();
    run.cpuSeconds = processCpuSeconds() - cpuBefore;
    run.memoryAtEnd = residentMiB();
    run.missed = static_cast<std::int64_t>(studio.missedSlots() - missedBefore);
    return run;
}

double percentile(std::vector<double> values, double part)
{
    if (values.empty()) {
        return 0;
    }
    const auto place = static_cast<std::ptrdiff_t>(part * static_cast<double>(values.size() - 1));
    std::nth_element(values.begin(), values.begin() + place, values.end());
    return values[static_cast<std::size_t>(place)];
}

} // namespace nimbara::bench
