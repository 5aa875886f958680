#include "compositor/glyph_outlines.h"

#include <QGlyphRun>

namespace nimbara {

namespace {

/// Above this size the painter fills outlines instead of using its glyph cache. It fills the
/// text as one path, at a cost that grows with the square of a line's length; glyph by glyph
/// the same pixels come several times faster.
constexpr double outlineSize = 64;

bool hasTable(const QRawFont &font, const char *tag)
{
    return !font.fontTable(tag).isEmpty();
}

/// The small tables that colour fonts of each kind have. "sbix" is the one that is as large as
/// the pictures in it, and asked for last.
bool hasColourTables(const QRawFont &font)
{
    return hasTable(font, "CBLC") || hasTable(font, "COLR") || hasTable(font, "SVG ")
        || font.familyName().contains(QLatin1String("Emoji")) || hasTable(font, "sbix");
}

} // namespace

GlyphOutlines::FontEntry &GlyphOutlines::entry(const QRawFont &font)
{
    auto found = m_fonts.find(font);
    if (found == m_fonts.end()) {
        if (m_fonts.size() >= maxFonts) {
            m_fonts.clear();
            m_count = 0;
        }
        found = m_fonts.insert(font, { hasColourTables(font), {} });
    }
    return *found;
}

const QPainterPath &GlyphOutlines::outline(const QRawFont &font, quint32 glyph)
{
    if (m_count >= maxOutlines) {
        m_fonts.clear();
        m_count = 0;
    }
    auto &outlines = entry(font).outlines;
    auto found = outlines.find(glyph);
    if (found == outlines.end()) {
        QPainterPath path = font.pathForGlyph(glyph);
        path.setFillRule(Qt::WindingFill);
        found = outlines.insert(glyph, path);
        ++m_count;
    }
    return *found;
}

bool GlyphOutlines::isColoured(const QRawFont &font)
{
    return entry(font).coloured;
}

void drawGlyphs(QPainter &painter, const QGlyphRun &run, QPointF offset, GlyphOutlines &outlines)
{
    const QRawFont font = run.rawFont();
    if (font.pixelSize() <= outlineSize) {
        painter.drawGlyphRun(offset, run);
        return;
    }
    const QList<quint32> glyphs = run.glyphIndexes();
    const QList<QPointF> positions = run.positions();
    const QBrush brush = painter.pen().brush();
    painter.setRenderHint(QPainter::Antialiasing);
    for (qsizetype i = 0; i < glyphs.size(); ++i) {
        const QPointF place = positions[i] + offset;
        painter.translate(place);
        painter.fillPath(outlines.outline(font, glyphs[i]), brush);
        painter.translate(-place);
    }
}

} // namespace nimbara
