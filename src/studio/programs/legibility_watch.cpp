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

/// The texts in sight, subtitles with the phrases of the moment.
std::vector<LookedAt> textsOf(const Composition &shown, CaptionFit &fit, VersePager &pager)
{
    const Drawing drawing = describe(shown, fit, pager);
    const FrameSize size = shown.size;
    std::vector<LookedAt> texts;
    auto drawn = drawing.layers.begin();
    for (const Layer &layer : shown.scene->layers) {
        if (!layer.visible || layer.opacity <= 0) {
            continue;
        }
        const Layer &text = drawn->layer;
        if (isText(text.kind)) {
            const QRectF box = pixelBox(QRectF(text.x, text.y, text.w, text.h), size);
            const QRect canvas(0, 0, size.width, size.height);
            if (auto block = layerText(text, box, size.height, canvas, drawn->numbers)) {
                texts.push_back({ layer.id, text.size, std::move(*block) });
            }
        }
        ++drawn;
    }
    return texts;
}

} // namespace

void LegibilityWatch::look(std::int64_t nowUs,
    const Composition &shown,
    const QImage &picture,
    VersePager &pager)
{
    if (m_task.isReady()) {
        takeResult();
    }
    const bool isTime = !m_lookedUs || nowUs - *m_lookedUs >= spacingUs;
    const bool isNew = shown.scene != m_scene || picture.cacheKey() != m_picture;
    if (!shown.scene || picture.isNull() || !isTime || !isNew || m_task.isUnderWay()) {
        return;
    }
    m_lookedUs = nowUs;
    m_scene = shown.scene;
    m_picture = picture.cacheKey();
    auto texts = textsOf(shown, m_fit, pager);
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
