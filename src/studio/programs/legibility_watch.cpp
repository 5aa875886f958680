#include "studio/programs/legibility_watch.h"

#include "compositor/scene/drawing.h"
#include "compositor/scene/picture_fit.h"

#include <system_error>
#include <utility>
#include <vector>

namespace nimbara {

namespace {

/// A text as it is drawn now.
struct LookedAt {
    LayerId layer;
    std::int32_t letters = 0; ///< font size in pixels per 1080 lines
    TextBlock block;
};

/// The texts in sight, but for subtitles, which change with each phrase.
std::vector<LookedAt> textsOf(const Scene &scene, FrameSize size, VersePager &pager)
{
    const Drawing drawing = describe(scene, {}, size, pager);
    std::vector<LookedAt> texts;
    auto drawn = drawing.layers.begin();
    for (const Layer &layer : scene.layers) {
        if (!layer.visible || layer.opacity <= 0) {
            continue;
        }
        const Layer &shown = drawn->layer;
        if (isText(shown.kind) && shown.kind != LayerKind::Subtitle) {
            const QRectF box = pixelBox(QRectF(shown.x, shown.y, shown.w, shown.h), size);
            const QRect canvas(0, 0, size.width, size.height);
            if (auto block = layerText(shown, box, size.height, canvas, drawn->numbers)) {
                texts.push_back({ layer.id, shown.size, std::move(*block) });
            }
        }
        ++drawn;
    }
    return texts;
}

} // namespace

void LegibilityWatch::look(std::int64_t nowUs,
    const ScenePtr &scene,
    const QImage &picture,
    VersePager &pager)
{
    if (m_task.isReady()) {
        takeResult();
    }
    const bool isTime = !m_lookedUs || nowUs - *m_lookedUs >= spacingUs;
    const bool isNew = scene != m_scene || picture.cacheKey() != m_picture;
    if (!scene || picture.isNull() || !isTime || !isNew || m_task.isUnderWay()) {
        return;
    }
    m_lookedUs = nowUs;
    m_scene = scene;
    m_picture = picture.cacheKey();
    auto texts = textsOf(*scene, { picture.width(), picture.height() }, pager);
    try {
        m_task.start([texts = std::move(texts), picture] {
            Sights sights;
            GlyphInk glyphs;
            for (const LookedAt &text : texts) {
                sights[text.layer]
                    = { textContrast(text.block, picture, glyphs), text.letters < leastLetters };
            }
            return sights;
        });
    } catch (const std::system_error &) {
        m_picture = 0; // no thread left: another time
    }
}

void LegibilityWatch::takeResult()
{
    Sights sights = m_task.take();
    if (std::exchange(m_sights, std::move(sights)) != m_sights) {
        Q_EMIT changed();
    }
}

TextSight LegibilityWatch::of(LayerId layer) const
{
    const auto found = m_sights.find(layer);
    return found == m_sights.end() ? TextSight {} : found->second;
}

} // namespace nimbara
