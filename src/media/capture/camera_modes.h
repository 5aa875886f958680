#pragma once

#include "media/capture/devices.h"

#include <QVariantMap>

#include <optional>

namespace nimbara {

/// The modes that the operator chose for cameras, which have the best without one. Interface thread
/// only.
class CameraModes {
public:
    /// Caps of each mode as text, by the camera's identity (`CaptureDevice::identity`). What is no
    /// such text counts for none.
    void restore(const QVariantMap &modes) { m_modes = modes; }
    [[nodiscard]] const QVariantMap &kept() const { return m_modes; }

    /// None: the best.
    void choose(const CaptureDevice &camera, const std::optional<DeviceMode> &mode);
    /// None also for one that the camera does not offer any more; it is kept, since it may again.
    [[nodiscard]] std::optional<DeviceMode> chosen(const CaptureDevice &camera) const;

private:
    QVariantMap m_modes;
};

} // namespace nimbara
