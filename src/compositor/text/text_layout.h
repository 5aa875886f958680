#pragma once

#include <QFont>
#include <QGlyphRun>
#include <QList>
#include <QRectF>
#include <QString>

#include <cstdint>

namespace nimbara {

/// A word-wrapped text laid out in an area of the canvas, line by line and pixel by pixel where the
/// toolkit's painter would put it.
struct LaidText {
    QList<QGlyphRun> runs; ///< shaped glyphs at their canvas positions
    QRectF bounds; ///< the lines' rectangle before they are stretched to justify them
    QRectF lines; ///< the lines' rectangle as drawn; glyphs may reach a little beyond
    bool clipped = false; ///< the text is larger than its area, which clips it
    double fontHeight = 0; ///< of one line, in pixels
};

/// Lays out `text` in `area`. `alignment`: alignment bits of a layer. Line breaks are kept, words
/// longer than the area stay whole. Fonts given in points take the resolution of off-screen images.
/// An empty text or an empty area gives no runs.
LaidText
layText(const QString &text, const QFont &font, const QRectF &area, std::int32_t alignment);

/// The height of the wrapped text in pixels; 0 for an empty text.
double wrappedHeight(const QString &text, const QFont &font, double width);

} // namespace nimbara
