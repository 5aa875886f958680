#pragma once

#include <QString>

#include <string>

namespace nimbara::bench {

/// Writes two seconds of a camera at 1920 × 1080 and 30 frames per second: soft shapes with the
/// grain of a sensor, and a figure that walks to and fro in front of them. Raw, so that reading it
/// costs what a camera's own buffers do. Returns the description of a pipeline with a free source
/// pad that delivers it, over and over, as YUY2.
std::string movingCamera(const QString &folder);

} // namespace nimbara::bench
