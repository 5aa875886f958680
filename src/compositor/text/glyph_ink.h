#pragma once

#include "compositor/text/coverage.h"

#include <QGlyphRun>
#include <QHash>
#include <QImage>
#include <QPainter>
#include <QPainterPath>
#include <QRawFont>

namespace nimbara {

/// Puts the ink of shaped glyphs into masks, pixel by pixel as the toolkit's painter would draw
/// them. Remembers the outlines of large letters by font and size. Bounded. Of one thread.
class GlyphInk {
public:
    /// Adds a run of a font without colours to the mask, moved by `offset`.
    void add(Coverage &coverage, const QGlyphRun &run, QPointF offset);

    /// Whether the font brings colours of its own (emoji), which no text colour changes.
    bool isColoured(const QRawFont &font);

private:
    struct Outline {
        QPainterPath path; ///< origin at 0, 0, in pixels, y downwards
        QRectF bounds;
    };
    struct FontEntry {
        bool coloured = false;
        QHash<quint32, Outline> outlines;
    };

    FontEntry &entry(const QRawFont &font);
    const Outline &outline(const QRawFont &font, quint32 glyph);
    void addOutlines(Coverage &coverage, const QGlyphRun &run, QPointF offset);
    void startScratch(QPainter &painter, const QSize &size);

    static constexpr qsizetype maxOutlines = 6000;
    static constexpr qsizetype maxFonts = 64;
    QHash<QRawFont, FontEntry> m_fonts;
    qsizetype m_count = 0;
    QImage m_scratch; ///< one glyph at a time
};

} // namespace nimbara
