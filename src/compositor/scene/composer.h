#pragma once

#include "compositor/scene/captions.h"
#include "compositor/scene/draw_layer.h"
#include "compositor/scene/paint_cache.h"
#include "document/scene.h"

#include <QImage>
#include <QString>

#include <memory>

namespace nimbara {

/// Everything that one composed picture shows. The scene is a copy that shares its pictures and
/// sources.
struct Composition {
    Scene scene;
    QString title; ///< the streams' lower third
    bool band = false; ///< draw the band even without a title
    FrameSize size;
    bool isHall = false; ///< hall target: automatic caption instead of the title band
    bool isPreview = false; ///< empty subtitle layers show a placeholder
    FramePtr camera; ///< the camera's newest picture, or none
    Captions captions;
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
    [[nodiscard]] QImage compose(Composition composition);

private:
    std::shared_ptr<PaintCache> m_cache;
    std::shared_ptr<const Composed> m_last;
};

/// The scene's layers alone on opaque black, subtitle layers as they stand.
QImage renderScene(const Scene &scene, FrameSize size, const FramePtr &camera, PaintCache &cache);

} // namespace nimbara
