#pragma once

#include "media/capture_permission.h"
#include "media/devices.h"
#include "media/media_factory.h"
#include "studio/audio_input.h"
#include "studio/report.h"
#include "studio/sources.h"
#include "studio/stage.h"

#include <QStringList>

#include <functional>
#include <memory>

namespace nimbara {

/// What the operator chose in the two device lists.
struct DeviceChoice {
    std::int32_t camera = 0; ///< 0: test bars; from 1: the video devices in order
    std::int32_t audio = 0; ///< 0: silence; 1: test signal; from 2: the audio devices in order
};

/// Finds capture devices, asks for permission and opens what the operator chose. Interface thread
/// only; nothing in it waits.
class DeviceConnection {
public:
    DeviceConnection(const Clock &clock,
        const MediaFactory &factory,
        std::unique_ptr<CapturePermission> permission,
        const Stage &stage,
        Sources &sources,
        AudioInput &audio,
        Report status);

    /// Looks for devices in the background; `onDevices` tells when they are known.
    void refreshDevices();

    /// Collects a finished search. Call on every run of the frame clock.
    void poll();

    /// Opens the chosen devices. Where the operator must first allow it, the request is made and
    /// the same choice is connected again once it is answered. A camera that works already stays in
    /// place.
    void connectSources(const DeviceChoice &choice);

    /// The names of the cameras and of the audio inputs, in the order of the choice. Never empty.
    std::function<void(const QStringList &cameras, const QStringList &audio)> onDevices
        = [](const QStringList &, const QStringList &) {};

private:
    bool mayUse(CaptureKind kind, const DeviceChoice &choice);
    bool connectCamera(std::int32_t entry);
    bool connectAudio(std::int32_t entry);
    [[nodiscard]] bool showsAlready(std::int32_t entry) const;

    const Clock &m_clock;
    const MediaFactory &m_factory;
    std::unique_ptr<CapturePermission> m_permission;
    const Stage &m_stage;
    Sources &m_sources;
    AudioInput &m_audio;
    Report m_status;
    DeviceDiscovery m_discovery;
    DeviceLists m_devices;
};

} // namespace nimbara
