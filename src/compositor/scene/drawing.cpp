#include "compositor/scene/drawing.h"

#include "compositor/scene/native_pixels.h"

#include <utility>

namespace nimbara {

namespace {

QRectF boxOf(const Layer &layer, FrameSize size)
{
    return pixelBox(QRectF(layer.x, layer.y, layer.w, layer.h), size);
}

/// Its picture stays the same one until it reads otherwise.
void fillClock(Layer &layer, const ClockReading &clocks)
{
    static const Layer plain;
    layer.text = clockText(layer, clocks);
    layer.clockShows = plain.clockShows;
    layer.untilMinute = plain.untilMinute;
    layer.duration = plain.duration;
}

DrawnLayer drawnFields(Layer layer,
    FramePtr picture,
    FrameSize size,
    VersePager &pager,
    const ClockReading &clocks)
{
    RaisedNumbers numbers;
    if (layer.kind == LayerKind::Verse) {
        const VersePages &pages = pager.pages(layer, size);
        numbers = pages.pages[pages.shown(layer)].numbers;
        layer = pageShown(layer, pages);
    } else if (layer.kind == LayerKind::Clock) {
        fillClock(layer, clocks);
    }
    layer.paged = false;
    layer.page = 0;
    layer.smallest = 0;
    layer.id = {};
    layer.source = {};
    layer.name.clear();
    layer.locked = false;
    layer.style.clear();
    layer.path.clear();
    layer.uri.clear();
    layer.sound = true;
    return { std::move(layer), std::move(picture), std::move(numbers) };
}

FramePtr pictureAt(const LayerPictures &pictures, std::size_t index)
{
    const bool shown
        = index < pictures.size() && pictures[index] && !pictures[index]->pixels.empty();
    return shown ? pictures[index] : nullptr;
}

void fillSubtitle(Layer &layer, const Composition &composition, CaptionFit &fit)
{
    const FrameSize size = composition.size;
    const auto draw = [&layer, size](const Captions &captions) {
        Layer filled = layer;
        fillSubtitle(filled, captions, false);
        return layerText(filled,
            boxOf(layer, size),
            size.height,
            QRect(0, 0, size.width, size.height));
    };
    const std::int32_t language = std::exchange(layer.language, caption_language::first);
    const Captions captions = composition.captions.in(language);
    fillSubtitle(layer, fit.cut(captions, draw, language), composition.isPreview);
}

std::optional<TextBlock> overlay(const Composition &composition, CaptionFit &fit)
{
    const Captions captions = composition.captions.in(caption_language::first);
    if (!composition.isHall) {
        return composition.band || !composition.title.isEmpty()
            ? std::optional(titleBand(composition.title, composition.size))
            : std::nullopt;
    }
    const bool captioned = composition.scene && hasSubtitle(*composition.scene);
    if (captioned || !captions.shown || captions.phrases.isEmpty()) {
        return std::nullopt;
    }
    const auto draw = [&composition](const Captions &some) {
        const QString text = some.text();
        const bool whole = text.size() <= maxAutomaticCaption || some.phrases.size() == 1;
        return whole ? std::optional(automaticCaption(text, composition.size)) : std::nullopt;
    };
    return draw(fit.cut(captions, draw));
}

/// The first layer worth drawing: nothing shows below one that covers the canvas.
std::size_t lowestSeen(const Drawing &drawing, bool &covered)
{
    for (std::size_t index = drawing.layers.size(); index-- > 0;) {
        const auto &[layer, picture, numbers] = drawing.layers[index];
        if (coversCanvas(layer, boxOf(layer, drawing.size), drawing.size, picture)) {
            covered = true;
            return index;
        }
    }
    return 0;
}

} // namespace

Drawing describe(const Scene &scene,
    const LayerPictures &pictures,
    FrameSize size,
    VersePager &pager,
    const ClockReading &clocks)
{
    Drawing drawing { size, {}, std::nullopt };
    for (std::size_t index = 0; index < scene.layers.size(); ++index) {
        const Layer &layer = scene.layers[index];
        if (layer.visible && layer.opacity > 0) {
            drawing.layers.push_back(
                drawnFields(layer, pictureAt(pictures, index), size, pager, clocks));
        }
    }
    return drawing;
}

Drawing describe(const Composition &composition, CaptionFit &fit, VersePager &pager)
{
    Drawing drawing { composition.size, {}, std::nullopt };
    if (composition.scene) {
        drawing = describe(*composition.scene,
            composition.pictures,
            composition.size,
            pager,
            composition.clocks);
    }
    for (DrawnLayer &drawn : drawing.layers) {
        if (drawn.layer.kind == LayerKind::Subtitle) {
            fillSubtitle(drawn.layer, composition, fit);
        }
    }
    drawing.overlay = overlay(composition, fit);
    return drawing;
}

std::vector<SpritePtr> paint(QImage &canvas, const Drawing &drawing, PaintCache &cache)
{
    bool covered = false;
    const std::size_t first = lowestSeen(drawing, covered);
    if (!covered) {
        canvas.fill(Qt::black);
    }
    toNative(canvas);
    QPainter painter(&canvas);
    LayerPainter layers(painter, cache);
    for (std::size_t index = first; index < drawing.layers.size(); ++index) {
        const auto &[layer, picture, numbers] = drawing.layers[index];
        layers.draw(layer, boxOf(layer, drawing.size), drawing.size.height, picture, numbers);
    }
    if (drawing.overlay) {
        layers.draw(*drawing.overlay);
    }
    painter.end();
    fromNative(canvas);
    return layers.takeSprites();
}

} // namespace nimbara
