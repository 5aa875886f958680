#include "compositor/text/text_overflow.h"

#include "compositor/text/text_layout.h"

#include <QFontMetricsF>

#include <algorithm>
#include <cmath>

namespace nimbara {

namespace {

double heightOf(const TextDraw &draw, const QFont &font)
{
    return wrappedHeight(draw.text, font, draw.area.width(), draw.raised, draw.spacing);
}

} // namespace

bool fitsItsAreas(const TextBlock &block)
{
    return std::all_of(block.draws.begin(), block.draws.end(), [&block](const TextDraw &draw) {
        return draw.part == TextPart::Raised || heightOf(draw, block.font) <= draw.area.height();
    });
}

std::int32_t hiddenLines(const Layer &layer, FrameSize frame, const RaisedNumbers &numbers)
{
    const QRectF box(layer.x * frame.width,
        layer.y * frame.height,
        layer.w * frame.width,
        layer.h * frame.height);
    const auto block
        = layerText(layer, box, frame.height, QRect(0, 0, frame.width, frame.height), numbers);
    if (!block) {
        return 0;
    }
    const double room = std::max(block->draws.front().area.height(), 0.0);
    double missing = 0;
    if (layer.kind == LayerKind::Verse) { // one text, or two side by side
        for (const TextDraw &draw : block->draws) {
            missing = std::max(missing, heightOf(draw, block->font) - room);
        }
    } else {
        missing = textHeight(*block) - room;
    }
    const double line = QFontMetricsF(block->font).lineSpacing();
    const double pitch = line * layer.spacing / 100;
    // A few pixels of the last line's descent may reach below the box unseen.
    return missing <= line / 4 ? 0 : static_cast<std::int32_t>(std::ceil(missing / pitch));
}

double textHeight(const TextBlock &block)
{
    double used = 0;
    for (const TextDraw &draw : block.draws) {
        used += heightOf(draw, block.font);
        used += draw.below ? extraLeading(block.font, draw.spacing) : 0;
    }
    return used;
}

} // namespace nimbara
