#pragma once

#include "document/canvas_geometry.h"
#include "document/layer_group.h"
#include "document/snapping.h"

#include <QPointF>
#include <QRectF>

#include <vector>

/// One layer or several as they are moved and scaled on the canvas. Pure functions on values; boxes
/// are fractions of the frame, points are widget pixels.
namespace nimbara {

/// Where a layer is to go.
struct Placement {
    LayerId layer;
    Box box;
};
using Placements = std::vector<Placement>;

/// A layer of a group when its drag began.
struct GroupPart {
    LayerId layer;
    LayerKind kind = LayerKind::Camera;
    Box start;
};
using GroupParts = std::vector<GroupPart>;

/// The layers of the list that can be moved: those that are not locked.
GroupParts movableParts(const Scene &scene, const LayerIds &ids);

/// The box around all; full frame for none.
Box boundsOf(const GroupParts &parts);

/// The boxes of the layers that are seen and are no part of the group.
std::vector<Box> boxesBeside(const Scene &scene, const GroupParts &parts);

/// The visible layers that can be moved and that the rectangle touches, rear layer first.
LayerIds layersTouching(const Scene &scene, const QRectF &frame, const QRectF &band);

/// The group moved by pixels of the output, whose size is given. All go as far as each can.
Placements nudged(const GroupParts &parts, int right, int down, FrameSize output);

/// One drag of a group, from the press to the release.
struct GroupDrag {
    static constexpr double snapPixels = 7; ///< of the widget

    GroupParts parts; ///< one at least
    Handle handle = Handle::None; ///< a corner of the box around all; none moves them
    QPointF press;
    std::vector<Box> others; ///< what it comes to rest on

    struct Result {
        Placements placements;
        std::vector<SnapGuide> guides;
    };
    /// The places for a pointer place. The parts keep their places within the box around them; a
    /// group with a picture keeps its aspect. Each stays on screen and no smaller than
    /// `smallestSide`, or what it was.
    [[nodiscard]] Result at(QPointF pointer, const QRectF &frame, bool snaps) const;
};

} // namespace nimbara
