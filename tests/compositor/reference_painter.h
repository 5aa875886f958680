#pragma once

#include "document/layer.h"

#include <QImage>
#include <QRectF>
#include <QString>

namespace nimbara::testing {

/// The plain road to the same pixels: the painter draws box and every pass of a text layer straight
/// onto the canvas. Slow and simple.
void paintTextLayer(QImage &canvas, const Layer &layer, int frameHeight);

/// The same for the streams' title band and the hall's automatic caption.
void paintTitleBand(QImage &canvas, const QString &title);
void paintAutomaticCaption(QImage &canvas, const QString &caption);

/// A canvas with something to see through translucent parts: a colour for every place.
QImage texturedCanvas(int width, int height);

/// The mean difference of two pictures' colour channels in a part of them, 0..255.
double meanDifference(const QImage &a, const QImage &b, const QRect &part);

} // namespace nimbara::testing
