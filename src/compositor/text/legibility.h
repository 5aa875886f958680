#pragma once

#include "compositor/text/glyph_ink.h"
#include "compositor/text/text_block.h"
#include "document/layer.h"

#include <QImage>

#include <cstdint>
#include <optional>

namespace nimbara {

/// The contrast that text needs to be read: WCAG 2.2, success criterion 1.4.3.
constexpr double leastContrast = 4.5;
/// The smallest letters that are read from the last row, as a font size in pixels per 1080 lines:
/// the first that is no less than a twenty-fifth of the frame.
constexpr std::int32_t leastLetters = (1080 + 24) / 25;

/// How much light a colour gives off, 0..1, and the contrast of two such: WCAG 2.2, "relative
/// luminance" and "contrast ratio" (1..21).
double relativeLuminance(QRgb color);
double contrastRatio(double luminance, double other);

/// The contrast of the block's words, in their full colour, against what is around their letters in
/// the composed picture (box, outline and whatever shows behind): in squares as high as a letter,
/// the ratio that a tenth of them falls below. None where too little of the text shows to tell.
/// `composed`: RGBA byte order, of the block's canvas. Any thread; `glyphs` belongs to it.
std::optional<double>
textContrast(const TextBlock &block, const QImage &composed, GlyphInk &glyphs);

/// The layer with a dark outline, or where that cannot do with a box, in front of which its text
/// reaches `leastContrast` whatever is behind. Dark letters lose a dark outline. None where too
/// much of what is behind shows through the layer.
std::optional<Layer> madeLegible(Layer layer);

/// The least opacity, 1..100 %, with which `madeLegible` can do it; none where the letters' own
/// colour is too transparent.
std::optional<std::int32_t> legibleFrom(Layer layer);

} // namespace nimbara
