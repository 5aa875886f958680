#pragma once

#include <QFont>
#include <QGlyphRun>
#include <QList>
#include <QRectF>
#include <QString>

#include <cstdint>
#include <vector>

namespace nimbara {

/// A part of a text that stands small and high, such as a verse's number.
struct RaisedSpan {
    qsizetype at = 0;
    qsizetype length = 0;
    bool operator==(const RaisedSpan &) const = default;
};

/// Which glyphs of a text with raised spans are wanted; the layout is the same.
enum class TextPart : std::int32_t { Whole, Words, Raised };

/// How a text is laid out, besides its font and area.
struct TextForm {
    std::int32_t alignment = 0; ///< alignment bits of a layer
    std::vector<RaisedSpan> raised; ///< in order, none within another
    TextPart part = TextPart::Whole;
    std::int32_t spacing = 100; ///< of lines, in percent of the font's
};

/// A word-wrapped text laid out in an area of the canvas, line by line and pixel by pixel where the
/// toolkit's painter would put it.
struct LaidText {
    QList<QGlyphRun> runs; ///< shaped glyphs at their canvas positions
    QRectF bounds; ///< the lines' rectangle before they are stretched to justify them
    QRectF lines; ///< the lines' rectangle as drawn; glyphs may reach a little beyond
    bool clipped = false; ///< the text is larger than its area, which clips it
    double fontHeight = 0; ///< of one line, in pixels
};

/// Lays out `text` in `area`. Line breaks are kept, words longer than the area stay whole. Fonts
/// given in points take the resolution of off-screen images. An empty text or an empty area gives
/// no runs.
LaidText layText(const QString &text, const QFont &font, const QRectF &area, const TextForm &form);

/// The height of the wrapped text in pixels; 0 for an empty text.
double wrappedHeight(const QString &text,
    const QFont &font,
    double width,
    const std::vector<RaisedSpan> &raised = {},
    std::int32_t spacing = 100);

/// The pixels that such a spacing puts between two lines, beyond the font's own; below 0: they
/// close up.
double extraLeading(const QFont &font, std::int32_t spacing);

} // namespace nimbara
