#pragma once

#include "media/capture/devices.h"

#include <memory>
#include <vector>

namespace nimbara {

/// What may hold a device as yet (`Media::presence`): it is free when all of them have expired.
using DeviceHolders = std::vector<std::weak_ptr<const void>>;

/// Whether all of them have let go.
bool areGone(const DeviceHolders &holders);

/// The devices that were let go of by a pipeline that has not stopped yet, which may take seconds:
/// until then they cannot be opened again. Interface thread only.
class LeavingDevices {
public:
    void note(const CaptureDevice &device, const DeviceHolders &holders);
    /// What holds the device still; empty: nothing.
    [[nodiscard]] DeviceHolders holders(const CaptureDevice &device) const;

private:
    struct Entry {
        CaptureDevice device;
        std::weak_ptr<const void> holder;
    };
    std::vector<Entry> m_entries;
};

} // namespace nimbara
