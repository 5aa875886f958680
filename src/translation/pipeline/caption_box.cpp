#include "translation/pipeline/caption_box.h"

#include <QFont>
#include <QFontMetricsF>

#include <algorithm>

namespace nimbara {

namespace {

const Layer *visibleSubtitle(const Scene &scene)
{
    const auto found = std::find_if(scene.layers.begin(),
        scene.layers.end(),
        [](const Layer &layer) { return layer.kind == LayerKind::Subtitle && layer.visible; });
    return found == scene.layers.end() ? nullptr : &*found;
}

const Layer *visibleSubtitle(const Scene &current, const Scenes &scenes)
{
    const Layer *layer = visibleSubtitle(current);
    for (auto scene = scenes.begin(); layer == nullptr && scene != scenes.end(); ++scene) {
        layer = visibleSubtitle(**scene);
    }
    return layer;
}

int pixelSize(FrameSize frame, std::int32_t size)
{
    return std::max(4, frame.height * size / 1080);
}

} // namespace

CaptionBox captionBox(const Scene &current, const Scenes &scenes, FrameSize frame)
{
    if (const Layer *layer = visibleSubtitle(current, scenes)) {
        return {
            QSizeF(frame.width * layer->w - 24, frame.height * layer->h - 16),
            layer->font,
            pixelSize(frame, layer->size),
            layer->bold,
        };
    }
    return {
        QSizeF(frame.width * 18 / 20, frame.height * 3 / 4),
        QStringLiteral("Sans Serif"),
        pixelSize(frame, 68),
        true,
    };
}

bool captionFits(const QString &text, const CaptionBox &box)
{
    if (box.size.width() <= 0 || box.size.height() <= 0) {
        return false;
    }
    QFont font(box.family);
    font.setPixelSize(box.pixelSize);
    font.setWeight(box.bold ? QFont::Bold : QFont::Normal);
    constexpr double unlimited = 1e6;
    const QRectF measured
        = QFontMetricsF(font).boundingRect(QRectF(0, 0, box.size.width(), unlimited),
            Qt::AlignLeft | Qt::AlignTop | Qt::TextWordWrap,
            text);
    return measured.height() <= box.size.height();
}

} // namespace nimbara
