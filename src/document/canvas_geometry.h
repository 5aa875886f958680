#pragma once

#include "document/layer_geometry.h"
#include "document/scene.h"

#include <QPointF>
#include <QRectF>
#include <QSizeF>

#include <array>
#include <cstdint>

/// The geometry of editing a scene with the pointer, as pure functions on values. Points and
/// rectangles are in widget pixels, boxes in fractions of the output frame.
namespace nimbara {

/// The corner handles in the order in which they are tested.
enum class Handle : std::int32_t {
    None = -1,
    TopLeft = 0,
    TopRight = 1,
    BottomRight = 2,
    BottomLeft = 3,
};

constexpr double handleReach = 10; ///< how far from a corner the pointer still takes its handle
constexpr double smallestSide = 0.03; ///< of a box made by dragging a handle

/// The largest rectangle of the aspect (width / height) that fits in the widget, centred.
QRectF frameRect(QSizeF widget, double aspect);

/// Where a layer's box lies on the screen. `frame`: the frame rectangle.
QRectF layerRect(const Box &box, const QRectF &frame);

/// The corners of a rectangle in the order of the handles.
std::array<QPointF, 4> cornersOf(const QRectF &rect);

/// The first handle within reach of the pointer. `rect`: the selected layer on the screen.
Handle handleAt(const QRectF &rect, QPointF pointer);

/// The front-most visible layer under the pointer, or none.
LayerId layerAt(const Scene &scene, const QRectF &frame, QPointF pointer);

/// One drag of a box, from the press to the release.
struct CanvasDrag {
    LayerKind kind = LayerKind::Camera;
    Box start; ///< when the drag began
    Handle handle = Handle::None; ///< the corner being dragged; none moves the whole box
    QPointF press; ///< where the drag began

    /// The box for a pointer place. A corner moves against its opposite, which stays; picture kinds
    /// keep the start's aspect; dragging past the opposite corner flips the box. A frame without
    /// extent gives the start box.
    [[nodiscard]] Box boxAt(QPointF pointer, const QRectF &frame) const;
    /// The corner that stays, in fractions of the frame.
    [[nodiscard]] QPointF anchor() const;
};

} // namespace nimbara
