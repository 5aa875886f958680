#include "studio/sources/leaving_devices.h"

#include <algorithm>

namespace nimbara {

bool areGone(const DeviceHolders &holders)
{
    return std::all_of(holders.begin(), holders.end(), [](const auto &holder) {
        return holder.expired();
    });
}

void LeavingDevices::note(const CaptureDevice &device, const DeviceHolders &holders)
{
    std::erase_if(m_entries, [](const Entry &entry) { return entry.holder.expired(); });
    for (const std::weak_ptr<const void> &holder : holders) {
        if (!holder.expired()) {
            m_entries.push_back({ device, holder });
        }
    }
}

DeviceHolders LeavingDevices::holders(const CaptureDevice &device) const
{
    DeviceHolders held;
    for (const Entry &entry : m_entries) {
        if (isSame(entry.device, device) && !entry.holder.expired()) {
            held.push_back(entry.holder);
        }
    }
    return held;
}

} // namespace nimbara
