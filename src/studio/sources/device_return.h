#pragma once

#include "base/clock.h"
#include "base/message.h"
#include "base/report.h"
#include "media/capture/devices.h"

#include <optional>

namespace nimbara {

/// Looks for a lost device in the background, by its identity, every 3 s. A search that does not
/// answer for 5 s is told of once, and the device is tried as it is remembered. Interface thread
/// only; never waits.
class DeviceReturn {
public:
    static constexpr std::int64_t spacingUs = 3'000'000; ///< between two searches
    static constexpr std::int64_t patienceUs = 5'000'000; ///< with one search

    DeviceReturn(const Clock &clock, Report status);

    /// Call on every run of the frame clock with the device that is lost, or null. Returns what is
    /// to be opened: the same device as it is there now, once for each search.
    std::optional<CaptureDevice> poll(const CaptureDevice *lost);

private:
    std::optional<CaptureDevice> remembered(const CaptureDevice &lost);

    const Clock &m_clock;
    Report m_status;
    DeviceDiscovery m_search;
    std::int64_t m_lastTry = 0;
    bool m_silenceTold = false;
};

/// What the operator is told when looking for devices takes too long and one is tried all the same.
Message searchSilentText();

} // namespace nimbara
