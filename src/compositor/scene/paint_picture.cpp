#include "compositor/scene/paint_picture.h"

#include "compositor/scene/native_pixels.h"

#include <QPainter>

#include <algorithm>
#include <cmath>

namespace nimbara {

bool drawsDirectly(const PictureSpot &spot)
{
    return spot.fit.pixelForPixel() && (spot.picture->opaque || !spot.still);
}

int halvings(const PictureSpot &spot)
{
    const QSizeF from = spot.fit.source.size();
    const QSizeF onto = spot.fit.target.size();
    const double ratio = std::min(from.width() / onto.width(), from.height() / onto.height());
    if (!spot.still || ratio < 2) {
        return 0;
    }
    return std::min(static_cast<int>(std::log2(ratio)), 12);
}

QImage halved(const Frame &picture, int times)
{
    const auto side = [times](std::int32_t pixels) { return std::max(pixels >> times, 1); };
    return nativeView(picture).scaled(side(picture.width),
        side(picture.height),
        Qt::IgnoreAspectRatio,
        Qt::SmoothTransformation);
}

Sprite paintPicture(const PictureSpot &spot, const QImage &image)
{
    const QRect rect = spot.fit.target.toAlignedRect() & spot.canvas;
    if (rect.isEmpty()) {
        return {};
    }
    Sprite sprite { QImage(rect.size(), QImage::Format_ARGB32_Premultiplied), rect.topLeft() };
    sprite.image.fill(Qt::transparent);
    const double scaleX = static_cast<double>(image.width()) / spot.picture->width;
    const double scaleY = static_cast<double>(image.height()) / spot.picture->height;
    const QRectF &from = spot.fit.source;
    QPainter painter(&sprite.image);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.translate(-sprite.place);
    painter.setOpacity(spot.opacity);
    painter.drawImage(spot.fit.target,
        image,
        QRectF(from.x() * scaleX,
            from.y() * scaleY,
            from.width() * scaleX,
            from.height() * scaleY));
    return sprite;
}

} // namespace nimbara
