#pragma once

#include <QImage>
#include <QRectF>

class QPainter;

namespace nimbara {

/// Draws composed pictures on a widget.
///
/// They come in RGBA byte order, which the toolkit converts pixel by pixel through its slow,
/// general path, and more so where it scales. This one scales them as if their bytes were native,
/// and then puts red and blue in their places, in the few pixels that are left. Its memory is kept
/// from one picture to the next. Interface thread only.
class FramePainter {
public:
    /// Fills `target`, rounded to whole pixels of the device, with the opaque picture; pixel for
    /// pixel when the sizes match, smoothly scaled otherwise.
    void draw(QPainter &painter, const QRectF &target, const QImage &frame);

private:
    QImage m_pixels; ///< the picture at the size of the target, native
};

} // namespace nimbara
