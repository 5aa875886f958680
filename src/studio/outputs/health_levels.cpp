#include "studio/outputs/health_levels.h"

namespace nimbara {

namespace {

constexpr double warningLoss = 0.01;
constexpr double alarmLoss = 0.05;
constexpr double warningWait = 1;
constexpr double busyCpu = 0.85;
constexpr std::int64_t warningDiskMinutes = 60;
constexpr std::int64_t alarmDiskMinutes = 20;

} // namespace

HealthLevel levelOfLoss(double share)
{
    if (share >= alarmLoss) {
        return HealthLevel::Alarm;
    }
    return share >= warningLoss ? HealthLevel::Warning : HealthLevel::Good;
}

HealthLevel levelOfWait(double seconds)
{
    return seconds >= warningWait ? HealthLevel::Warning : HealthLevel::Good;
}

HealthLevel levelOfCpu(double share)
{
    return share >= busyCpu ? HealthLevel::Warning : HealthLevel::Good;
}

HealthLevel levelOfDisk(std::int64_t minutes)
{
    if (minutes < alarmDiskMinutes) {
        return HealthLevel::Alarm;
    }
    return minutes < warningDiskMinutes ? HealthLevel::Warning : HealthLevel::Good;
}

} // namespace nimbara
