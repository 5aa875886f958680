#include "compositor/scene/picture_fit.h"

#include <algorithm>
#include <cmath>

namespace nimbara {

namespace {

/// 0.05 × 1920 is not quite 96: what is a whole pixel but for the arithmetic must be one, or
/// pictures that need no scaling would be scaled.
double snapped(double value)
{
    const double whole = std::round(value);
    return std::abs(value - whole) < 1e-6 ? whole : value;
}

QRectF snapped(const QRectF &rect)
{
    return { snapped(rect.x()), snapped(rect.y()), snapped(rect.width()), snapped(rect.height()) };
}

/// The largest rectangle of the shape of `shape` inside `bounds`, centred.
QRectF inscribed(QSizeF shape, const QRectF &bounds)
{
    const double scale = std::min(bounds.width() / shape.width(), bounds.height() / shape.height());
    const QSizeF size = shape * scale;
    return snapped(QRectF(bounds.x() + (bounds.width() - size.width()) / 2,
        bounds.y() + (bounds.height() - size.height()) / 2,
        size.width(),
        size.height()));
}

} // namespace

bool PictureFit::pixelForPixel() const
{
    const auto isWhole = [](QPointF point) { return point == QPointF(point.toPoint()); };
    return source.size() == target.size() && isWhole(source.topLeft()) && isWhole(target.topLeft());
}

PictureFit fitPicture(FrameSize picture, const QRectF &box, bool cover)
{
    const QRectF whole(0, 0, picture.width, picture.height);
    if (cover) {
        return { inscribed(box.size(), whole), box };
    }
    return { whole, inscribed(whole.size(), box) };
}

QRectF pixelBox(const QRectF &fractions, FrameSize canvas)
{
    return snapped(QRectF(fractions.x() * canvas.width,
        fractions.y() * canvas.height,
        fractions.width() * canvas.width,
        fractions.height() * canvas.height));
}

} // namespace nimbara
