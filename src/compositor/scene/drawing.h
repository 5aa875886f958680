#pragma once

#include "compositor/scene/composer.h"

#include <optional>
#include <vector>

namespace nimbara {

/// A layer as it is drawn: what the pixels do not depend on is emptied.
struct DrawnLayer {
    Layer layer;
    FramePtr picture;
    RaisedNumbers numbers {}; ///< of a verse
    bool operator==(const DrawnLayer &) const = default;
};

/// All that decides the pixels of a composed picture: two equal drawings look the same.
struct Drawing {
    FrameSize size;
    std::vector<DrawnLayer> layers; ///< the visible ones, back to front
    std::optional<TextBlock> overlay;
    bool operator==(const Drawing &) const = default;
};

/// A drawing with its picture, and the sprites in it, which stay while it may be drawn again.
struct Composed {
    Drawing drawing;
    QImage picture;
    std::vector<SpritePtr> sprites;
};

/// The visible layers of the scene with their pictures of this moment, verses by their page, clocks
/// with what they read.
Drawing describe(const Scene &scene,
    const LayerPictures &pictures,
    FrameSize size,
    VersePager &pager,
    const ClockReading &clocks);

/// The whole composition, each place for captions filled with what it has room for. `fit` remembers
/// what fits where.
Drawing describe(const Composition &composition, CaptionFit &fit, VersePager &pager);

/// Draws onto a canvas (`CanvasPool`) of the drawing's size and returns the sprites used. The
/// canvas must not be shared.
std::vector<SpritePtr> paint(QImage &canvas, const Drawing &drawing, PaintCache &cache);

} // namespace nimbara
