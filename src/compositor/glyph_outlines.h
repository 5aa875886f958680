#pragma once

#include <QHash>
#include <QPainter>
#include <QPainterPath>
#include <QRawFont>

namespace nimbara {

/// Glyph outlines by font and size, so that large text need not ask the font for every letter
/// again. Bounded. Interface thread only.
class GlyphOutlines {
public:
    /// The glyph's outline with its origin at 0, 0, in pixels, y downwards.
    const QPainterPath &outline(const QRawFont &font, quint32 glyph);

    /// Whether the font brings colours of its own (emoji), which no text colour changes.
    bool isColoured(const QRawFont &font);

private:
    struct FontEntry {
        bool coloured = false;
        QHash<quint32, QPainterPath> outlines;
    };
    FontEntry &entry(const QRawFont &font);

    static constexpr qsizetype maxOutlines = 6000;
    static constexpr qsizetype maxFonts = 64;
    QHash<QRawFont, FontEntry> m_fonts;
    qsizetype m_count = 0;
};

/// Draws a run of a font without colours in the painter's pen colour, moved by `offset`.
void drawGlyphs(QPainter &painter, const QGlyphRun &run, QPointF offset, GlyphOutlines &outlines);

} // namespace nimbara
