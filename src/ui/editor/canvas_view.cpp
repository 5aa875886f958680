#include "ui/editor/canvas_view.h"

#include "document/canvas_geometry.h"

#include <algorithm>
#include <cmath>

namespace nimbara {

void CanvasView::setAspect(double aspect)
{
    if (aspect != m_aspect) {
        m_aspect = aspect;
        fit();
    }
}

QRectF CanvasView::frameIn(QSizeF widget) const
{
    const QRectF fitted = frameRect(widget, m_aspect);
    if (isFitted()) {
        return fitted;
    }
    QRectF frame(QPointF(), fitted.size() * m_zoom);
    frame.moveCenter(
        fitted.center() + QPointF(m_shift.x() * fitted.width(), m_shift.y() * fitted.height()));
    return frame;
}

void CanvasView::zoomAt(QPointF pointer, double factor, QSizeF widget)
{
    const QRectF before = frameIn(widget);
    m_wanted = std::clamp(m_wanted * factor, least, most);
    // Near enough to the whole frame is the whole frame.
    const double zoom = std::abs(m_wanted - 1) < 0.04 ? 1 : m_wanted;
    const double by = zoom / m_zoom;
    m_zoom = zoom;
    const QPointF centre = pointer + (before.center() - pointer) * by;
    const QRectF fitted = frameRect(widget, m_aspect);
    if (fitted.isEmpty()) {
        return;
    }
    m_shift = { (centre.x() - fitted.center().x()) / fitted.width(),
        (centre.y() - fitted.center().y()) / fitted.height() };
    settle(widget);
}

void CanvasView::pan(QPointF by, QSizeF widget)
{
    const QRectF fitted = frameRect(widget, m_aspect);
    if (!fitted.isEmpty()) {
        m_shift += QPointF(by.x() / fitted.width(), by.y() / fitted.height());
        settle(widget);
    }
}

void CanvasView::fit()
{
    m_wanted = m_zoom = 1;
    m_shift = {};
}

/// No further than to the frame's edge; a frame that has room stands in the middle.
void CanvasView::settle(QSizeF widget)
{
    const QRectF fitted = frameRect(widget, m_aspect);
    const auto bounded = [this](double shift, double room, double side) {
        const double free = std::max(0.0, (m_zoom * side - room) / 2 / side);
        return std::clamp(shift, -free, free);
    };
    m_shift = { bounded(m_shift.x(), widget.width(), fitted.width()),
        bounded(m_shift.y(), widget.height(), fitted.height()) };
}

} // namespace nimbara
