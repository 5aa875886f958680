#pragma once

#include "base/background_task.h"
#include "media/capture/device_identity.h"
#include "media/capture/device_mode.h"
#include "media/gst/gst_handles.h"

#include <QString>

#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace nimbara {

enum class DeviceKind { Video, Audio };

/// A camera, capture card, microphone or sound card. A plain value; the copy shares the handle.
struct CaptureDevice {
    QString name; ///< for the operator
    DeviceKind kind = DeviceKind::Audio;
    QString identity; ///< equal when the same device has gone away and come back
    DeviceIdentity marks; ///< what tells it from others
    QString place; ///< where it is at the moment (node number, device file); tells twins apart
    DeviceRef device; ///< opens it, as long as it is at that place
    std::vector<DeviceMode> modes {}; ///< of a camera, the best for 1920 × 1080 first
    QString file {}; ///< the system's, of a camera ("/dev/video0"); empty: none
    QString usb {}; ///< where it is plugged in (`usbPlace`); empty: no USB device, or not told
};

/// The devices in the order in which the system names them.
struct DeviceLists {
    std::vector<CaptureDevice> video;
    std::vector<CaptureDevice> audio;
};

/// The system's file of a camera ("/dev/video0"), as PipeWire or Video4Linux name it; empty: none.
QString deviceFile(GstDevice *device);

/// The same of a camera of the media service alone (PipeWire's keys "api.v4l2.path",
/// "object.path"): by it the camera can be read without the service. Empty: there is no other road
/// to it.
QString directFile(GstDevice *device);

/// What the studio keeps of a device. Anything whose class does not begin with "Video/Source" is an
/// audio device.
CaptureDevice describeDevice(GstDevice *device);

/// The name for the operator; of cameras that are just alike with the port that tells them apart.
QString nameAmongTwins(const CaptureDevice &device);

/// Of each device, in their order.
std::vector<DeviceIdentity> marksOf(const std::vector<CaptureDevice> &devices);

/// The two are one device at one place.
inline bool isSame(const CaptureDevice &one, const CaptureDevice &other)
{
    return one.identity == other.identity && one.place == other.place;
}

/// The device that was lost, among those that are there now; null when it is not there. Never
/// another device in its place: of several that look the same, only the one at the old place is
/// taken. One that is plugged in elsewhere is known by its serial number, else as the only one of
/// its product (`matchDevices`). The result points into `devices`.
const CaptureDevice *findAgain(const std::vector<CaptureDevice> &devices,
    const CaptureDevice &lost);

/// Looks for devices on background tasks, because a media service may answer late or never.
///
/// The system's monitor is started by the first search of all and runs until the process ends. The
/// lists still change only when somebody asks. Interface thread only; the destructor waits a
/// moment for a search under way.
class DeviceDiscovery {
public:
    DeviceDiscovery() = default;
    DeviceDiscovery(const DeviceDiscovery &) = delete;
    DeviceDiscovery &operator=(const DeviceDiscovery &) = delete;
    DeviceDiscovery(DeviceDiscovery &&) = delete;
    DeviceDiscovery &operator=(DeviceDiscovery &&) = delete;
    ~DeviceDiscovery();

    /// Begins a search. The first takes as long as the system needs to start looking; the next ones
    /// are quick.
    void start();

    /// A result is still to come.
    [[nodiscard]] bool running() const { return m_search.isUnderWay(); }

    /// The result, once, when it is there. Never waits. A search asked for while another was under
    /// way follows it, so that a device plugged in just now is not missed, and the result is its
    /// own.
    std::optional<DeviceLists> poll();

    /// How often a search of this program has found other cameras than the one before it.
    static std::uint64_t changes();

private:
    BackgroundTask<DeviceLists> m_search;
    bool m_again = false; ///< another search was asked for while one was under way
};

} // namespace nimbara
