#pragma once

#include "compositor/text/coverage.h"
#include "compositor/text/glyph_ink.h"
#include "compositor/text/text_block.h"

namespace nimbara {

/// Paints a block of text into a sprite, clipped to the block's canvas: laid over a picture, it
/// gives what drawing the box and every pass straight onto the picture would give. The sprite is
/// empty when nothing of the block lies on the canvas.
Sprite paintText(const TextBlock &block, GlyphInk &glyphs);

} // namespace nimbara
