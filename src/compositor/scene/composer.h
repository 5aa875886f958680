#pragma once

#include "compositor/scene/captions.h"
#include "compositor/scene/clock_text.h"
#include "compositor/scene/draw_layer.h"
#include "compositor/scene/paint_cache.h"
#include "document/scene.h"

#include <QImage>
#include <QString>

#include <memory>
#include <vector>

namespace nimbara {

/// What the layers of one scene show now, in their order: the camera's picture, a decoded file's, a
/// source's newest. None (or a shorter list) where there is no picture, and for kinds without one.
using LayerPictures = std::vector<FramePtr>;

/// Everything that one composed picture shows. A plain value.
struct Composition {
    ScenePtr scene; ///< none: black
    LayerPictures pictures;
    QString title; ///< the streams' lower third
    bool band = false; ///< draw the band even without a title
    FrameSize size;
    bool isHall = false; ///< hall target: automatic caption instead of the title band
    bool isPreview = false; ///< empty subtitle layers show a placeholder
    Captions captions;
    ClockReading clocks {};
};

/// Composes one picture per frame: the scene's layers back to front, then the title band (streams)
/// or the automatic caption (hall). Interface thread only.
class Composer {
public:
    /// `cache` is shared with the other composers of the studio.
    explicit Composer(std::shared_ptr<PaintCache> cache);

    /// The picture, in opaque RGBA byte order. It never changes afterwards. When nothing that it
    /// shows changed since the last call, or another composer of the cache holds the same one, that
    /// picture is handed on and nothing is drawn.
    [[nodiscard]] QImage compose(const Composition &composition);

private:
    std::shared_ptr<PaintCache> m_cache;
    std::shared_ptr<const Composed> m_last;
};

/// The scene's layers alone on opaque black, subtitle layers as they stand.
QImage renderScene(const Scene &scene,
    const LayerPictures &pictures,
    FrameSize size,
    PaintCache &cache,
    const ClockReading &clocks = {});

} // namespace nimbara
