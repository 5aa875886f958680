#include "compositor/text/text_overflow.h"

#include "compositor/text/text_layout.h"

#include <QFontMetricsF>

#include <algorithm>
#include <cmath>

namespace nimbara {

std::int32_t hiddenLines(const Layer &layer, FrameSize frame)
{
    const QRectF box(layer.x * frame.width,
        layer.y * frame.height,
        layer.w * frame.width,
        layer.h * frame.height);
    const auto block = layerText(layer, box, frame.height, QRect(0, 0, frame.width, frame.height));
    if (!block) {
        return 0;
    }
    const double missing = textHeight(*block) - std::max(block->draws.front().area.height(), 0.0);
    const double line = QFontMetricsF(block->font).lineSpacing();
    // A few pixels of the last line's descent may reach below the box unseen.
    return missing <= line / 4 ? 0 : static_cast<std::int32_t>(std::ceil(missing / line));
}

double textHeight(const TextBlock &block)
{
    double used = 0;
    for (const TextDraw &draw : block.draws) {
        used += wrappedHeight(draw.text, block.font, draw.area.width());
    }
    return used;
}

} // namespace nimbara
