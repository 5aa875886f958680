#pragma once

namespace nimbara {

/// By which road a capture device is read.
enum class DeviceRoad {
    System, ///< as the system's list opens it
    Video4Linux, ///< by its own file, past the media service (`directFile`)
};

} // namespace nimbara
