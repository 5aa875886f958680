#pragma once

#include "document/canvas_geometry.h"
#include "document/snapping.h"

#include <QRectF>

#include <vector>

class QPainter;

/// What the canvas draws over the picture. Rectangles are widget pixels.
namespace nimbara {

/// A selected layer's outline. `isMovable`: not locked. `isAlone`: of no group, with its handles.
void paintOutline(QPainter &painter, const QRectF &rect, bool isMovable, bool isAlone);
/// The box around several layers, with its handles.
void paintGroup(QPainter &painter, const QRectF &rect);
/// The rubber band.
void paintBand(QPainter &painter, const QRectF &band);
/// What a box that is dragged rests on. `frame`: where the frame lies.
void paintGuides(QPainter &painter, const QRectF &frame, const std::vector<SnapGuide> &guides);
/// How large the frame is shown, in a corner of the widget.
void paintZoom(QPainter &painter, const QRectF &widget, double zoom);

} // namespace nimbara
