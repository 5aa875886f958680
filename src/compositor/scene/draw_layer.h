#pragma once

#include "compositor/scene/paint_cache.h"
#include "document/layer.h"

#include <QPainter>
#include <QRectF>

#include <cstdint>
#include <vector>

namespace nimbara {

/// Draws layers onto one canvas through a cache. Holds the sprites that it laid down.
class LayerPainter {
public:
    /// `painter` draws on a native view of the canvas (`toNative`) in its pixels, without a
    /// transformation.
    LayerPainter(QPainter &painter, PaintCache &cache);

    /// Draws a layer with its opacity, whether visible or not. `box` in canvas pixels;
    /// `frameHeight`: the lines of the frame, which scale text; `picture`: what it shows, or
    /// none; `numbers`: those raised in a verse.
    void draw(const Layer &layer,
        const QRectF &box,
        std::int32_t frameHeight,
        const FramePtr &picture,
        const RaisedNumbers &numbers);

    /// Draws a block of text with its box.
    void draw(const TextBlock &block);

    /// The sprites laid down so far, to be held as long as their picture may be drawn again.
    [[nodiscard]] std::vector<SpritePtr> takeSprites() { return std::move(m_sprites); }

private:
    void drawPicture(const Layer &layer, const QRectF &box, const FramePtr &picture);
    void lay(const SpritePtr &sprite);

    QPainter &m_painter;
    PaintCache &m_cache;
    QRect m_canvas;
    std::vector<SpritePtr> m_sprites;
};

/// Whether the layer hides everything below it on the whole canvas. `box`, `picture`: as above.
bool coversCanvas(const Layer &layer, const QRectF &box, FrameSize canvas, const FramePtr &picture);

} // namespace nimbara
