#pragma once

#include "compositor/scene/verse_pager.h"
#include "compositor/text/text_block.h"
#include "compositor/text/text_layout.h"

#include <algorithm>

namespace nimbara::testing {

/// The texts of the page that the layer shows.
inline TextBlock drawn(const Layer &layer, const VersePages &pages, FrameSize frame)
{
    return *textOfPage(layer, pages, frame);
}

/// No text reaches out of its column.
inline bool isWithinColumns(const TextBlock &block)
{
    return std::all_of(block.draws.begin(), block.draws.end(), [&block](const TextDraw &draw) {
        const TextForm form { align::left, draw.raised };
        const QRectF lines = layText(draw.text, block.font, draw.area, form).bounds;
        return lines.left() >= draw.area.left() && lines.right() <= draw.area.right();
    });
}

} // namespace nimbara::testing
