#pragma once

namespace nimbara {

/// How a device that the operator asked for comes along. Until it delivers, the one before stays in
/// its place.
enum class Opening {
    Underway,
    Done, ///< it delivers, or nothing was asked for
    Refused, ///< told already; the one before is still there
};

} // namespace nimbara
