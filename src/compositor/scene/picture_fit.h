#pragma once

#include "signal/frame.h"

#include <QRectF>

namespace nimbara {

/// Which part of a picture is drawn (in its pixels), and where on the canvas.
struct PictureFit {
    QRectF source;
    QRectF target;
    bool operator==(const PictureFit &) const = default;

    /// Every canvas pixel in the target is one whole picture pixel.
    [[nodiscard]] bool pixelForPixel() const;
};

/// Fit: the whole picture, as large as the box allows, centred in it. Cover: the largest centred
/// part of the picture with the box's shape, drawn into the whole box. The picture and the box must
/// not be empty. A picture that was made for its place but for a part of a pixel is moved by that
/// part, so that it needs no scaling.
PictureFit fitPicture(FrameSize picture, const QRectF &box, bool cover);

/// A layer's box on a canvas, in pixels. `fractions`: x, y, w and h of the layer.
QRectF pixelBox(const QRectF &fractions, FrameSize canvas);

} // namespace nimbara
