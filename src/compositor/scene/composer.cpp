#include "compositor/scene/composer.h"

#include "compositor/scene/drawing.h"

#include <utility>

namespace nimbara {

Composer::Composer(std::shared_ptr<PaintCache> cache)
    : m_cache(std::move(cache))
{
}

QImage Composer::compose(const Composition &composition)
{
    Drawing drawing = describe(composition, m_cache->captionFit(), m_cache->versePager());
    if (m_last && m_last->drawing == drawing) {
        return m_last->picture;
    }
    for (const auto &composed : m_cache->compositions()) {
        if (composed->drawing == drawing) {
            m_last = composed;
            return m_last->picture;
        }
    }
    m_cache->age();
    QImage canvas = m_cache->canvases().take(drawing.size);
    auto sprites = paint(canvas, drawing, *m_cache);
    m_last = std::make_shared<const Composed>(
        Composed { std::move(drawing), canvas, std::move(sprites) });
    m_cache->canvases().keep(canvas);
    m_cache->share(m_last);
    return canvas;
}

QImage renderScene(const Scene &scene,
    const LayerPictures &pictures,
    FrameSize size,
    PaintCache &cache,
    const ClockReading &clocks)
{
    QImage canvas(size.width, size.height, QImage::Format_RGBX8888);
    paint(canvas, describe(scene, pictures, size, cache.versePager(), clocks), cache);
    return canvas;
}

} // namespace nimbara
