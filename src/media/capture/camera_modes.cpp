#include "media/capture/camera_modes.h"

#include "media/gst/gst_build.h"

#include <algorithm>

namespace nimbara {

void CameraModes::choose(const CaptureDevice &camera, const std::optional<DeviceMode> &mode)
{
    if (mode) {
        m_modes.insert(camera.identity, gst_build::text(modeCaps(mode).get()));
    } else {
        m_modes.remove(camera.identity);
    }
}

std::optional<DeviceMode> CameraModes::chosen(const CaptureDevice &camera) const
{
    const QByteArray text = m_modes.value(camera.identity).toString().toUtf8();
    if (text.isEmpty()) {
        return std::nullopt;
    }
    const auto caps = CapsRef::adopt(gst_caps_from_string(text.constData()));
    const std::vector<DeviceMode> kept = expandModes(caps.get(), {});
    const bool isOffered = kept.size() == 1
        && std::find(camera.modes.begin(), camera.modes.end(), kept.front()) != camera.modes.end();
    return isOffered ? std::optional(kept.front()) : std::nullopt;
}

} // namespace nimbara
