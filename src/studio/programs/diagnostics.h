#pragma once

#include "studio/edit/stage.h"
#include "studio/sources/sources.h"

#include <QImage>

#include <cstdint>

namespace nimbara {

/// The log line that tells, every 90 camera frames, whether the picture is alive. Interface thread
/// only.
class Diagnostics {
public:
    /// Call on each frame with the composed PREVIEW. With VESPERLINE_DIAG set in the environment,
    /// the camera's frame and PREVIEW are saved next to the log file at the camera's 90th frame.
    void observe(const Stage &stage, const Sources &sources, const QImage &preview);

private:
    std::uint64_t m_lastFrame = 0;
};

/// Checksum of every 7th red byte in the picture's lower right corner: a frozen or black picture
/// gives the same value again and again. 0 without a picture.
std::uint64_t cornerChecksum(const Frame *frame);

} // namespace nimbara
