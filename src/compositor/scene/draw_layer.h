#pragma once

#include "compositor/scene/paint_cache.h"
#include "document/layer.h"

#include <QPainter>
#include <QRectF>

#include <cstdint>
#include <vector>

namespace nimbara {

/// The picture that a layer shows now: the camera's for a camera layer, its own image, or its
/// source's newest. None for other kinds and when there is no picture.
FramePtr layerPicture(const Layer &layer, const FramePtr &camera);

/// Draws layers onto one canvas through a cache. Holds the sprites that it laid down.
class LayerPainter {
public:
    /// `painter` draws on a native view of the canvas (`toNative`) in its pixels, without a
    /// transformation.
    LayerPainter(QPainter &painter, PaintCache &cache);

    /// Draws a layer with its opacity, whether visible or not. `box` in canvas pixels;
    /// `frameHeight`: the lines of the frame, which scale text; `picture`: what `layerPicture`
    /// gave.
    void
    draw(const Layer &layer, const QRectF &box, std::int32_t frameHeight, const FramePtr &picture);

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

/// Draws one layer by its kind: painter, box and frame height as above. `camera`: the camera's
/// newest picture, or none.
void drawLayer(QPainter &painter,
    const Layer &layer,
    const QRectF &box,
    std::int32_t frameHeight,
    const FramePtr &camera,
    PaintCache &cache);

} // namespace nimbara
