#include "compositor/scene/draw_layer.h"

#include "compositor/scene/native_pixels.h"

namespace nimbara {

namespace {

const QColor placeholderColor(0, 0, 0, 200);

} // namespace

LayerPainter::LayerPainter(QPainter &painter, PaintCache &cache)
    : m_painter(painter)
    , m_cache(cache)
    , m_canvas(painter.window())
{
}

void LayerPainter::draw(const Layer &layer,
    const QRectF &box,
    std::int32_t frameHeight,
    const FramePtr &picture,
    const RaisedNumbers &numbers)
{
    if (isText(layer.kind)) {
        if (const auto block = layerText(layer, box, frameHeight, m_canvas, numbers)) {
            draw(*block);
        }
        return;
    }
    if (picture) {
        drawPicture(layer, box, picture);
    } else if (layer.kind != LayerKind::Camera) {
        m_painter.setOpacity(layer.opacity);
        m_painter.fillRect(box,
            nativeColor(layer.kind == LayerKind::Color ? layer.fill : placeholderColor));
    }
}

void LayerPainter::draw(const TextBlock &block)
{
    lay(m_cache.text(block));
}

void LayerPainter::drawPicture(const Layer &layer, const QRectF &box, const FramePtr &picture)
{
    if (box.isEmpty()) {
        return;
    }
    const PictureSpot spot { picture,
        fitPicture(picture->size(), box, layer.cover),
        layer.opacity,
        m_canvas,
        layer.kind == LayerKind::Image };
    if (!spot.fit.target.intersects(m_canvas)) {
        return;
    }
    if (!drawsDirectly(spot)) {
        lay(m_cache.picture(spot));
        return;
    }
    m_painter.setOpacity(layer.opacity);
    m_painter.drawImage(spot.fit.target, nativeView(*picture), spot.fit.source);
}

void LayerPainter::lay(const SpritePtr &sprite)
{
    if (sprite->image.isNull()) {
        return;
    }
    m_painter.setOpacity(1); // the sprite has its own
    m_painter.drawImage(sprite->place, sprite->image);
    m_sprites.push_back(sprite);
}

bool coversCanvas(const Layer &layer, const QRectF &box, FrameSize canvas, const FramePtr &picture)
{
    const QRectF whole(0, 0, canvas.width, canvas.height);
    if (layer.opacity < 1 || isText(layer.kind) || !box.contains(whole)) {
        return false;
    }
    if (layer.kind == LayerKind::Color) {
        return layer.fill.alpha() == 255;
    }
    return picture && picture->opaque
        && fitPicture(picture->size(), box, layer.cover).target.contains(whole);
}

} // namespace nimbara
