#pragma once

#include "media/gst_handles.h"

#include <QString>

#include <future>
#include <optional>
#include <vector>

namespace nimbara {

enum class DeviceKind { Video, Audio };

/// A camera, capture card, microphone or sound card. A plain value; the copy shares the handle.
struct CaptureDevice {
    QString name; ///< for the operator
    DeviceKind kind = DeviceKind::Audio;
    QString identity; ///< equal when the same device has gone away and come back
    QString place; ///< where it is at the moment (node number, device file); tells twins apart
    DeviceRef device; ///< opens it, as long as it is at that place
};

/// The devices in the order in which the system names them.
struct DeviceLists {
    std::vector<CaptureDevice> video;
    std::vector<CaptureDevice> audio;
};

/// What the studio keeps of a device. Anything whose class does not begin with "Video/Source" is an
/// audio device.
CaptureDevice describeDevice(GstDevice *device);

/// Asks the system for its video and audio sources. Any thread; may take seconds, so the interface
/// thread uses `DeviceDiscovery`.
DeviceLists findDevices();

/// The device that was lost, among those that are there now; null when it is not there. Never
/// another device in its place: of several that look the same, only the one at the old place is
/// taken. The result points into `devices`.
const CaptureDevice *findAgain(const std::vector<CaptureDevice> &devices,
    const CaptureDevice &lost);

/// Looks for devices on a background task. Interface thread only; the destructor waits for a search
/// that is still under way.
class DeviceDiscovery {
public:
    /// Begins a search. When one is under way another follows it, so that a device plugged in just
    /// now is not missed.
    void start();

    /// A result is still to come.
    [[nodiscard]] bool running() const { return m_search.valid(); }

    /// The result of the last search asked for, once, when it is there. Never waits.
    std::optional<DeviceLists> poll();

private:
    std::future<DeviceLists> m_search;
    bool m_again = false;
};

} // namespace nimbara
