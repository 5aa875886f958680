#pragma once

#include "document/box.h"

#include <QPointF>

#include <vector>

/// What a box that is dragged comes to rest on: the frame's edges, centre, thirds and safe area,
/// edges and centres of other layers, and places at equal distances from them. Pure functions on
/// fractions of the frame.
namespace nimbara {

/// How near a box has to come, as a fraction of the frame's width and height.
struct SnapReach {
    double x = 0;
    double y = 0;
};

/// A line to be drawn while the box rests on something.
struct SnapGuide {
    bool upright = false; ///< at an x from y to y; otherwise at a y from x to x
    double at = 0;
    double from = 0;
    double to = 1;
    bool isGap = false; ///< a distance that is as large as another one

    bool operator==(const SnapGuide &) const = default;
};

struct Snapped {
    Box box;
    std::vector<SnapGuide> guides;
};

/// Of the graphics safe area, from each edge (EBU R 95).
constexpr double safeMargin = 0.05;

/// A box that is moved as a whole. `others`: the boxes of the other layers that are seen.
Snapped snappedMove(const Box &box, const std::vector<Box> &others, SnapReach reach);

/// A box that is resized against a corner that stays. `keepsAspect`: the edge that is nearer to
/// something settles the other one.
Snapped snappedResize(const Box &box,
    QPointF anchor,
    bool keepsAspect,
    const std::vector<Box> &others,
    SnapReach reach);

} // namespace nimbara
