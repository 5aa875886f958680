#pragma once

#include <cstdint>

namespace nimbara {

enum class HealthLevel { Good, Warning, Alarm };

/// Of pictures that were lost or late: their share, 0..1.
HealthLevel levelOfLoss(double share);
/// Of pictures that wait to be sent, in seconds.
HealthLevel levelOfWait(double seconds);
/// Of the whole machine, 0..1.
HealthLevel levelOfCpu(double share);
/// Of the recording time that is left.
HealthLevel levelOfDisk(std::int64_t minutes);

} // namespace nimbara
