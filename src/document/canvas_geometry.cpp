#include "document/canvas_geometry.h"

#include <QLineF>

#include <algorithm>
#include <cmath>

namespace nimbara {

namespace {

/// Width and height grown to the larger of the two that keeps the start's aspect.
void keepAspect(const Box &start, double &w, double &h)
{
    const double aspect = start.w / start.h;
    if (w / aspect <= h) {
        w = aspect * h;
    } else {
        h = w / aspect;
    }
}

Box resized(LayerKind kind, const Box &start, Handle handle, double dx, double dy)
{
    const bool dragsLeft = handle == Handle::TopLeft || handle == Handle::BottomLeft;
    const bool dragsTop = handle == Handle::TopLeft || handle == Handle::TopRight;
    const double right = start.x + start.w;
    const double bottom = start.y + start.h;
    const double anchorX = dragsLeft ? right : start.x;
    const double anchorY = dragsTop ? bottom : start.y;
    const double cornerX = (dragsLeft ? start.x : right) + dx;
    const double cornerY = (dragsTop ? start.y : bottom) + dy;

    double w = std::abs(cornerX - anchorX);
    double h = std::abs(cornerY - anchorY);
    if (isPicture(kind) && start.h > 0 && start.w > 0) {
        keepAspect(start, w, h);
    }
    w = std::max(w, smallestSide);
    h = std::max(h, smallestSide);
    return { cornerX >= anchorX ? anchorX : anchorX - w,
        cornerY >= anchorY ? anchorY : anchorY - h,
        w,
        h };
}

} // namespace

QRectF frameRect(QSizeF widget, double aspect)
{
    const QSizeF size = QSizeF(aspect, 1).scaled(widget, Qt::KeepAspectRatio);
    return { QPointF((widget.width() - size.width()) / 2, (widget.height() - size.height()) / 2),
        size };
}

QRectF layerRect(const Box &box, const QRectF &frame)
{
    return { frame.x() + box.x * frame.width(),
        frame.y() + box.y * frame.height(),
        box.w * frame.width(),
        box.h * frame.height() };
}

std::array<QPointF, 4> cornersOf(const QRectF &rect)
{
    return { rect.topLeft(), rect.topRight(), rect.bottomRight(), rect.bottomLeft() };
}

Handle handleAt(const QRectF &rect, QPointF pointer)
{
    const std::array corners = cornersOf(rect);
    const auto *const hit = std::find_if(corners.begin(), corners.end(), [&](QPointF corner) {
        return QLineF(corner, pointer).length() <= handleReach;
    });
    return hit == corners.end() ? Handle::None : static_cast<Handle>(hit - corners.begin());
}

LayerId layerAt(const Scene &scene, const QRectF &frame, QPointF pointer)
{
    for (std::size_t i = scene.layers.size(); i-- > 0;) {
        const Layer &layer = scene.layers[i];
        if (layer.visible && layerRect(boxOf(layer), frame).contains(pointer)) {
            return layer.id;
        }
    }
    return {};
}

Box CanvasDrag::boxAt(QPointF pointer, const QRectF &frame) const
{
    if (frame.width() <= 0 || frame.height() <= 0) {
        return start;
    }
    const double dx = (pointer.x() - press.x()) / frame.width();
    const double dy = (pointer.y() - press.y()) / frame.height();
    if (handle == Handle::None) {
        return { start.x + dx, start.y + dy, start.w, start.h };
    }
    return resized(kind, start, handle, dx, dy);
}

QPointF CanvasDrag::anchor() const
{
    const bool dragsLeft = handle == Handle::TopLeft || handle == Handle::BottomLeft;
    const bool dragsTop = handle == Handle::TopLeft || handle == Handle::TopRight;
    return { dragsLeft ? start.x + start.w : start.x, dragsTop ? start.y + start.h : start.y };
}

} // namespace nimbara
