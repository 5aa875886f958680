#include "compositor/scene/picture_fit.h"

#include <algorithm>
#include <cmath>
#include <utility>

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

/// The picture was made for this place but for a part of a pixel.
bool isMadeFor(const PictureFit &fit)
{
    return std::abs(fit.source.width() - fit.target.width()) < 1
        && std::abs(fit.source.height() - fit.target.height()) < 1;
}

/// One axis of a place: where it begins and how long it is.
struct Span {
    double begin;
    double length;
};

/// The two axes of a fit moved by parts of a pixel, so that whole pixels meet whole pixels.
/// `pixels`: of the picture.
std::pair<Span, Span> wholePixels(Span source, Span target, std::int32_t pixels)
{
    const double begin = std::round(target.begin);
    const double room
        = source.length == pixels ? pixels : std::round(target.begin + target.length) - begin;
    const double length = std::min<double>(room, pixels);
    const double from
        = std::clamp(std::round(source.begin + (source.length - length) / 2), 0.0, pixels - length);
    return { { from, length }, { begin, length } };
}

PictureFit wholePixels(const PictureFit &fit, FrameSize picture)
{
    const auto [fromX, toX] = wholePixels({ fit.source.x(), fit.source.width() },
        { fit.target.x(), fit.target.width() },
        picture.width);
    const auto [fromY, toY] = wholePixels({ fit.source.y(), fit.source.height() },
        { fit.target.y(), fit.target.height() },
        picture.height);
    return { QRectF(fromX.begin, fromY.begin, fromX.length, fromY.length),
        QRectF(toX.begin, toY.begin, toX.length, toY.length) };
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
    const PictureFit fit = cover ? PictureFit { inscribed(box.size(), whole), box }
                                 : PictureFit { whole, inscribed(whole.size(), box) };
    return isMadeFor(fit) ? wholePixels(fit, picture) : fit;
}

QRectF pixelBox(const QRectF &fractions, FrameSize canvas)
{
    return snapped(QRectF(fractions.x() * canvas.width,
        fractions.y() * canvas.height,
        fractions.width() * canvas.width,
        fractions.height() * canvas.height));
}

} // namespace nimbara
