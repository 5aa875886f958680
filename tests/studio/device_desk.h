#pragma once

#include "studio/studio.h"
#include "support/virtual_device.h"

#include <QColor>

#include <algorithm>
#include <memory>

namespace nimbara::testing {

/// What the studio says when both devices are there.
inline constexpr const char *opened = "Fuentes abiertas. Prepara una escena y pulsa AL AIRE.";

using DevicePtr = std::unique_ptr<VirtualDevice>;

/// Devices whose node is named like them.
inline DevicePtr camera(const char *name, const char *colour, FrameSize size)
{
    const QString node = QString::fromLatin1(name);
    return std::make_unique<VirtualDevice>(
        VirtualDevice::camera(node, node, QString::fromLatin1(colour), size));
}
inline DevicePtr microphone(const char *name, int rate, int channels, int tone = 440)
{
    const QString node = QString::fromLatin1(name);
    return std::make_unique<VirtualDevice>(
        VirtualDevice::microphone(node, node, rate, channels, tone));
}

/// What a studio tells of its devices.
struct DeviceReports {
    Studio &studio;
    DeviceLists devices;
    int before = -1; ///< the meters
    int after = -1;

    explicit DeviceReports(Studio &of)
        : studio(of)
    {
        QObject::connect(&studio.devices(),
            &DeviceConnection::devicesFound,
            &studio,
            [this](const DeviceLists &found) { devices = found; });
        QObject::connect(&studio.audio(),
            &AudioInput::levelsMeasured,
            &studio,
            [this](int in, int out) {
                before = in;
                after = out;
            });
    }
    /// Searches until there are so many; `wait` runs the studio until a condition holds.
    template <typename Wait> bool find(std::size_t video, std::size_t audio, Wait wait)
    {
        return wait([&, tries = 0]() mutable {
            if (tries++ % 100 == 0) {
                studio.devices().refreshDevices();
                studio.devices().refreshDevices(); // the result is that of the second
            }
            return devices.video.size() == video && devices.audio.size() == audio;
        });
    }
    /// The choice of two devices by their names.
    [[nodiscard]] DeviceChoice choose(const char *video, const char *audio) const
    {
        const auto entryOf = [](const std::vector<CaptureDevice> &list, const char *name) {
            const auto found = std::find_if(list.begin(), list.end(), [&](const auto &device) {
                return device.name == QLatin1String(name);
            });
            return static_cast<std::int32_t>(found - list.begin());
        };
        return { entryOf(devices.video, video) + 1, entryOf(devices.audio, audio) + 2 };
    }
};

inline bool isRed(const QColor &color)
{
    return color.red() > 200 && color.green() < 60 && color.blue() < 60;
}

} // namespace nimbara::testing
