#pragma once

#include <QSize>

#include <array>

namespace nimbara {

/// How PREVIEW and the two programs share their room.
struct MonitorPlan {
    int previewWidth = 0; ///< pixels; the programs have the rest
    bool stacked = true; ///< the programs one above the other, not side by side
};

/// Width / height of each picture, and what stands above it.
struct MonitorShapes {
    double preview = 16.0 / 9.0;
    double streams = 16.0 / 9.0;
    double hall = 16.0 / 9.0;
    int previewHead = 0; ///< pixels
    int programHead = 0; ///< pixels

    bool operator==(const MonitorShapes &) const = default;
};

/// The shares that make the pictures large and leave little room empty.
MonitorPlan planMonitors(QSize room, const MonitorShapes &shapes);

/// Whether two programs in this room are larger one above the other.
bool areLargerStacked(QSize room, const MonitorShapes &shapes);

} // namespace nimbara
