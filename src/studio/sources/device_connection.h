#pragma once

#include "base/report.h"
#include "media/capture/capture_permission.h"
#include "media/capture/devices.h"
#include "studio/sources/audio_input.h"
#include "studio/sources/camera_arrival.h"
#include "studio/sources/sources.h"

#include <QObject>

#include <memory>
#include <optional>
#include <vector>

namespace nimbara {

/// What the operator chose in the two device lists. Below 0: a device that has left the list.
struct DeviceChoice {
    std::int32_t camera = 0; ///< 0: test bars; from 1: the video devices in order
    std::int32_t audio = 0; ///< 0: silence; 1: test signal; from 2: the audio devices in order
    std::optional<DeviceMode> mode {}; ///< of the camera; none: the best
};

/// Finds capture devices, asks for permission and opens what the operator chose. Interface thread
/// only; nothing in it waits.
class DeviceConnection : public QObject {
    Q_OBJECT
public:
    DeviceConnection(const Clock &clock,
        std::unique_ptr<CapturePermission> permission,
        Sources &sources,
        AudioInput &audio,
        Report status);

    /// Looks for devices in the background; `devicesFound` tells when they are known. A search that
    /// does not answer for 5 s is told.
    void refreshDevices();

    /// As they were listed last.
    [[nodiscard]] const DeviceLists &devices() const { return m_devices; }

    /// Collects a finished search and tells when what was chosen is open. Call on every run of the
    /// frame clock.
    void poll();

    /// Opens what is chosen. A device is looked up first, in the background, because one that was
    /// away has come back under another number; the lists stay as they are. When that is not
    /// answered for 5 s, the devices are tried as they were listed.
    ///
    /// What works already stays in place, and until a new device delivers, the one before stays,
    /// also when the new one is away or refuses; that is told. A camera that refuses at once ends
    /// the attempt.
    ///
    /// Where the operator must first allow it, the request is made and nothing else;
    /// `permissionAnswered` tells when to call again.
    void connectSources(const DeviceChoice &choice);

Q_SIGNALS:
    /// The cameras and audio inputs in the order of the choice.
    void devicesFound(const DeviceLists &devices);
    /// What was asked of each open camera, agreed upon and comes in: of the principal one, then of
    /// those of layers.
    void arrivalsChanged(const std::vector<nimbara::ArrivalText> &arrivals);
    /// The operator has answered a request for permission: whoever knows what is chosen by now
    /// calls `connectSources` again.
    void permissionAnswered();

private:
    /// A choice with the devices that its entries meant when it was made.
    struct Wanted {
        DeviceChoice choice;
        std::optional<CaptureDevice> camera;
        std::optional<CaptureDevice> audio;
    };

    enum class Outcome {
        Connected, ///< it is open, or opening
        Away, ///< the device is not there
        Failed, ///< it is there, but cannot be opened
    };

    bool mayUse(CaptureKind kind);
    void collectList();
    void collectLookup();
    void followOpening();
    void lookAtArrivals();
    void connectWanted(const Wanted &wanted, const DeviceLists &present);
    Outcome connectCamera(const Wanted &wanted, const std::vector<CaptureDevice> &present);
    Outcome connectAudio(const Wanted &wanted, const std::vector<CaptureDevice> &present);
    void openCamera(const CaptureDevice *device, const DeviceChoice &choice);
    [[nodiscard]] bool waitedLong(std::int64_t sinceUs) const;

    const Clock &m_clock;
    std::unique_ptr<CapturePermission> m_permission;
    Sources &m_sources;
    AudioInput &m_audio;
    Report m_status;
    CameraArrivals m_arrivals;
    DeviceDiscovery m_discovery;
    std::optional<std::int64_t> m_listAsked; ///< µs; a list is to come, and silence is not told yet
    DeviceLists m_devices; ///< as listed
    DeviceDiscovery m_lookup;
    std::optional<Wanted> m_wanted; ///< to be connected once it is looked up
    std::int64_t m_wantedSince = 0; ///< µs
    bool m_opening = false; ///< all that was chosen is opening, which is still to be told
    std::optional<std::int64_t> m_openingSince; ///< µs; that it takes long is still to be told
};

} // namespace nimbara
